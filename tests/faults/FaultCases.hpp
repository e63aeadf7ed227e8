#pragma once

#include "faults/Scene.hpp"
#include "support/Supervisor.hpp"

#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace orv::test {

/// A request with all that it may change.
struct FaultCase {
    std::string name;
    std::vector<std::string> arguments; ///< of `orv`; items begin with "@"
    Scene before;
    Scene after = {}; ///< when it is done
    Lacking lacking = {};
    bool needs_volume = false; ///< "volume" and "home/disk" have to be other ones than the home
    std::vector<std::vector<std::string>> peers = {}; ///< other commands for the same
    std::string input = {};                           ///< what it reads
    /// Where items stand that it moves, before and after. Each comes there in one step, its rows
    /// before it.
    std::vector<std::pair<std::string, std::string>> moved = {};
};

/// How a failed test shows it.
inline void PrintTo(const FaultCase& request, std::ostream* to)
{
    *to << request.name;
}

/// The requests that are tried with faults.
[[nodiscard]] const std::vector<FaultCase>& fault_cases();

[[nodiscard]] const FaultCase& fault_case(const std::string& name);

} // namespace orv::test
