#pragma once

#include <functional>

namespace orv::app {

/// Answers Ctrl-C and the signal to terminate: the first asks the request under way to stop, and
/// without one, as the second always does, it ends the process at once with `interrupted_exit`.
///
/// Threading: to be called before any other thread is started.
void handle_interrupts();

inline constexpr int interrupted_exit = 130;

/// A request under way was asked to stop.
[[nodiscard]] bool was_interrupted();

/// Says, while it lives, how the request under way is stopped. There is one at a time.
///
/// Threading: main thread; `stop` is called there, from the main queue.
class Stoppable {
public:
    explicit Stoppable(std::function<void()> stop);
    ~Stoppable();
    Stoppable(const Stoppable&) = delete;
    Stoppable& operator=(const Stoppable&) = delete;
};

} // namespace orv::app
