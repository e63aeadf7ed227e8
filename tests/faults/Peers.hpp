#pragma once

#include "faults/Sweep.hpp"

#include <string>
#include <vector>

namespace orv::test {

/// Kills another command that does the same as `request`, before every one of its calls. What it
/// leaves under a name of its own is not held against it, nor permissions and times.
[[nodiscard]] Tally sweep_peer(const FaultCase& request, const std::vector<std::string>& command);

} // namespace orv::test
