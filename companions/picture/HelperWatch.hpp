#pragma once

#include "picture/DecoderProtocol.hpp"

#include <chrono>
#include <cstdint>

#include <sys/types.h>

namespace orv::picture {

/// How long a helper may work on one file.
struct DecodingLimits {
    /// Of all its threads. A picture of 48 megapixels takes 2.5 s on a usual machine.
    std::chrono::nanoseconds processor_time{std::chrono::seconds(longest_processor_seconds)};
    /// While it neither computes nor reads: then it hangs. Waiting for a core or a disk is no
    /// hanging.
    std::chrono::nanoseconds standstill{std::chrono::seconds(20)};
};

/// Watches a helper while it works on a file.
///
/// Threading: one thread at a time.
class HelperWatch {
public:
    /// Begins with the process's use so far.
    HelperWatch(pid_t process, DecodingLimits limits);

    /// Looks at the process's work since the last look.
    ///
    /// Errors: "The file takes too long to decode." when it has used up a limit.
    void look();

private:
    /// The kernel's counts of a process.
    struct Count {
        std::chrono::nanoseconds processor_time{};
        std::uint64_t bytes_read = 0;
        friend bool operator==(const Count&, const Count&) = default;
    };

    [[nodiscard]] Count count() const;

    pid_t process_;
    DecodingLimits limits_;
    std::chrono::nanoseconds began_at_; ///< in processor time
    Count last_;
    std::chrono::steady_clock::time_point looked_at_;
    std::chrono::nanoseconds stood_still_{};
};

} // namespace orv::picture
