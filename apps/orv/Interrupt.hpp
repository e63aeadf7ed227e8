#pragma once

#include <functional>

namespace orv::app {

/// Answers Ctrl-C and the signal to terminate: the first asks the request under way to stop, and
/// without one, as the second always does, it ends the process at once with `interrupted_exit`.
///
/// Threading: call it before the start of any other thread.
void handle_interrupts();

inline constexpr int interrupted_exit = 130;

/// Ctrl-C asked the request to stop.
[[nodiscard]] bool was_interrupted();

/// During its lifetime, the way to stop the current request. There is one at a time.
///
/// Threading: main thread; the main queue calls `stop` there.
class Stoppable {
public:
    explicit Stoppable(std::function<void()> stop);
    ~Stoppable();
    Stoppable(const Stoppable&) = delete;
    Stoppable& operator=(const Stoppable&) = delete;
};

} // namespace orv::app
