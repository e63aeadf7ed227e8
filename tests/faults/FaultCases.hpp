#pragma once

#include "faults/Scene.hpp"
#include "support/Supervisor.hpp"

#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace orv::test {

/// An archive that a request makes, and what has to come out of it.
struct MadeArchive {
    std::string path;
    Snapshot content;
    std::string password = {}; ///< empty for none
};

/// A request with all that it may change.
struct FaultCase {
    std::string name;
    /// Of `orv` or, after "single request", of that program; items begin with "@".
    std::vector<std::string> arguments;
    Scene before;
    Scene after = {}; ///< when it is done
    /// A request made before it without faults, which brings `start` into the state of `before`.
    std::vector<std::string> first = {};
    Scene start = {};
    Lacking lacking = {};
    bool needs_volume = false; ///< "volume" and "home/disk" have to be other ones than the home
    /// Of those volumes, when they have no room for the old item beside the new one: the old one
    /// goes first, and a failure leaves neither.
    std::string tight_volume = {};
    std::vector<std::vector<std::string>> peers = {}; ///< other commands for the same
    std::string input = {};                           ///< what it reads
    /// Where items stand that it moves, before and after. Each comes there in one step, its rows
    /// before it.
    std::vector<std::pair<std::string, std::string>> moved = {};
    std::optional<MadeArchive> archive = {};
    /// The item that the request replaces. After the next start the old or the new one stands
    /// there, whole, and after an error the old one.
    std::string replaced = {};
    std::string taken_back = {}; ///< what it leaves nothing of when it fails
    long step = 3; ///< of how many calls the tests try one; whoever has the time tries all
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
