#pragma once

#include <chrono>

namespace orv {

/// Measures the time since its start or last reset.
class StopWatch {
public:
    /// Units: seconds.
    [[nodiscard]] double elapsed_time() const
    {
        return std::chrono::duration<double>(Clock::now() - start_).count();
    }

    void reset() { start_ = Clock::now(); }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point start_ = Clock::now();
};

} // namespace orv
