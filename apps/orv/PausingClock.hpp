#pragma once

#include <chrono>

namespace orv::app {

/// A clock for what is drawn while a request is at work. It is read several times a second; where
/// it was not for longer, as while a person is asked, it stood still.
class PausingClock {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    [[nodiscard]] TimePoint now();

private:
    TimePoint read_ = std::chrono::steady_clock::now();
    std::chrono::steady_clock::duration pauses_{0};
};

} // namespace orv::app
