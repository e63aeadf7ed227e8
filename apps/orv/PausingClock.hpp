#pragma once

#include <chrono>

namespace orv::app {

/// A clock for drawings during a request. The drawings read it several times a second; a longer
/// gap, such as a question to a person, does not count.
class PausingClock {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    [[nodiscard]] TimePoint now();

private:
    TimePoint read_ = std::chrono::steady_clock::now();
    std::chrono::steady_clock::duration pauses_{0};
};

} // namespace orv::app
