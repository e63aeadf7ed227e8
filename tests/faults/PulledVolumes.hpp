#pragma once

#include "faults/VolumeRequests.hpp"

#include <string>
#include <vector>

namespace orv::test {

/// How a volume goes away under a request.
struct Pull {
    std::string name;
    std::string rule; ///< of the tests' own file system, which takes the number of the call
};

[[nodiscard]] const std::vector<Pull>& pulls();

/// The requests that a volume is pulled from.
[[nodiscard]] std::vector<VolumeRequest> pulled_requests();

struct PulledOutcome {
    bool reached = false; ///< the request made so many calls
    std::string problem = {};
};

/// Pulls the volume at the `at`-th call, and mounts it again. After the next start all is as it was
/// or as it was asked for, nothing is lost, and nothing hidden is left.
[[nodiscard]] PulledOutcome pull(const VolumeRequest& request, const Pull& pull, long at);

} // namespace orv::test
