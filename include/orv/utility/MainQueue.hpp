#pragma once

#include <orv/utility/Fatal.hpp>
#include <orv/utility/FunctionRef.hpp>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace orv {

/// Closures on their way to the application's main thread.
///
/// The main thread is the first to call `attach()`, or the process's first thread if none has. An
/// application with an event loop watches `fd()` in it and calls `drain()` when it is readable;
/// `orv/integrations/` has this in one line for Qt, GLib and Asio. An application without one calls
/// `run()`, `run_until()` or `run_for()`.
///
/// Exceptions: an exception from a closure leaves `drain()` into the loop around it. The closure
/// counts as run, and further closures stay queued.
class MainQueue {
public:
    /// The one queue of the process; it never dies.
    static MainQueue& instance();

    /// Makes the calling thread the main thread. Another thread's call after the first closure ends
    /// the process.
    void attach();

    [[nodiscard]] bool is_main_thread() const noexcept;

    /// Readable exactly while a closure is queued. Watch it, do not read from it; it stays open.
    [[nodiscard]] int fd() const noexcept;

    /// Runs the closures queued at the time of the call, one at a time. A closure may call it for a
    /// nested loop.
    ///
    /// Threading: main thread.
    void drain();

    /// Drains until a call of `quit()`.
    ///
    /// Threading: main thread.
    void run();

    /// Ends the innermost `run()` after the current closure; without one, does nothing.
    ///
    /// Threading: main thread.
    void quit();

    /// Drains until `predicate` holds or `at_most` has passed, and returns the last answer of
    /// `predicate`. Asks it at first and after every drain. With an `at_most` of zero it drains
    /// once.
    ///
    /// Threading: main thread.
    bool run_until(const std::function<bool()>& predicate,
                   std::optional<std::chrono::nanoseconds> at_most = {});

    /// Drains for as long as `duration`.
    ///
    /// Threading: main thread.
    void run_for(std::chrono::nanoseconds duration);

    /// Queues `closure` and returns. The main thread destroys the closure after its run.
    ///
    /// Threading: any.
    void async(std::function<void()> closure);

    /// Runs `closure` on the main thread and returns when it has run; on the main thread, in place.
    ///
    /// Threading: any, but never while the main thread waits for the caller.
    void sync(FunctionRef<void()> closure);

    /// During its lifetime a hand-over from this thread ends the process: the main thread may be
    /// waiting for the guarded resource.
    class ForbidHandOver {
    public:
        ForbidHandOver() noexcept;
        ~ForbidHandOver();
        ForbidHandOver(const ForbidHandOver&) = delete;
        ForbidHandOver& operator=(const ForbidHandOver&) = delete;
    };

private:
    MainQueue();
    ~MainQueue() = delete;

    class Impl;
    std::unique_ptr<Impl> impl_;
};

/// Runs `closure` on the main thread, returns when it has run, and hands back its result.
///
/// Threading: any; on the main thread it runs in place.
/// Errors: a closure without a result may throw, into the main thread's loop. An exception from a
/// closure with a result for another thread ends the process.
template <class Closure>
auto main_sync(Closure&& closure) -> std::invoke_result_t<Closure&>
{
    using Result = std::invoke_result_t<Closure&>;
    if constexpr (std::is_void_v<Result>) {
        MainQueue::instance().sync(closure);
    } else {
        std::optional<Result> result;
        MainQueue::instance().sync([&] { result.emplace(closure()); });
        if (!result)
            fatal("A closure threw on the main thread that owed another thread its result.");
        return std::move(*result);
    }
}

/// Runs `closure` later on the main thread.
///
/// Threading: any.
inline void main_async(std::function<void()> closure)
{
    MainQueue::instance().async(std::move(closure));
}

/// Ends the process when called on the main thread, naming `function`.
void assert_bg_thread(const char* function);

/// Ends the process when called off the main thread, naming `function`.
void assert_main_thread(const char* function);

} // namespace orv
