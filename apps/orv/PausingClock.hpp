#pragma once

#include <chrono>

namespace orv::app {

/// A clock for what is drawn while a request is at work. It is read several times a second; where
/// it was not for longer, as while a person is asked, it stood still.
class PausingClock {
public:
    using time_point = std::chrono::steady_clock::time_point;

    [[nodiscard]] time_point now();

private:
    time_point read_ = std::chrono::steady_clock::now();
    std::chrono::steady_clock::duration pauses_{0};
};

} // namespace orv::app
