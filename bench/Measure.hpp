#pragma once

#include <orv/utility/FunctionRef.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace orv::bench {

/// What one run cost.
struct Usage {
    double seconds = 0;
    double cpu_seconds = 0;      ///< of all its processes; of use where the machine is busy
    std::int64_t peak_bytes = 0; ///< the largest memory that one of its processes had resident
};

/// What several runs cost.
struct Summary {
    double median = 0;
    double min = 0;
    double max = 0;
    double median_cpu = 0;
    std::int64_t peak_bytes = 0; ///< of all runs
};

/// Runs a program, found on the PATH, and waits for it; its standard output is thrown away.
///
/// Errors: `Error` when it cannot be started or ends with anything but 0.
Usage run_program(const std::vector<std::string>& command);

/// Runs `work` in a child of its own; the time is that which `work` hands back. To be called
/// before the library has started a thread in this process.
///
/// Errors: `Error` when the child does not end with 0.
Usage run_in_child(FunctionRef<double()> work);

/// Errors: `runs` must not be empty.
[[nodiscard]] Summary summary(const std::vector<Usage>& runs);

} // namespace orv::bench
