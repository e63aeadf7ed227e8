#pragma once

#include "faults/Sweep.hpp"

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace orv::test {

/// Something that another program does to the items of a request while that is at work.
struct Change {
    std::string name;
    std::string request; ///< the name of a fault case
    /// Does it below the root, as far as the items to do it to are there.
    std::function<void(const std::string& root)> make;
    /// The items that it may make other than the request would leave them.
    std::vector<std::string> changed;
    std::string only = {};               ///< the calls at which it happens, as a regular expression
    std::optional<Lacking> lacking = {}; ///< instead of what the case says
};

inline void PrintTo(const Change& change, std::ostream* to)
{
    *to << change.name;
}

[[nodiscard]] const std::vector<Change>& changes();

/// Makes the change while the request waits at one call after the other.
[[nodiscard]] Tally sweep(const Change& change, long step = 1);

} // namespace orv::test
