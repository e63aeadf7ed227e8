#include "PausingClock.hpp"

#include <utility>

namespace orv::app {

PausingClock::TimePoint PausingClock::now()
{
    constexpr std::chrono::seconds longest_interval(1);
    const auto now = std::chrono::steady_clock::now();
    const auto interval = now - std::exchange(read_, now);
    if (interval > longest_interval)
        pauses_ += interval;
    return now - pauses_;
}

} // namespace orv::app
