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

/// The closures that wait to run on the application's main thread.
///
/// The main thread is the one that first calls `attach()` or, if none has, the process's first
/// thread. An application with an event loop watches `fd()` in it and calls `drain()` when it is
/// readable (`orv/integrations/` has this in one line for Qt, GLib and Asio); one without calls
/// `run()`, `run_until()` or `run_for()`.
///
/// Exceptions: what a closure throws leaves `drain()` into the loop that called it. The closure
/// counts as run, and what else was queued stays queued.
class MainQueue {
public:
    /// The one queue of the process; it is never destroyed.
    static MainQueue& instance();

    /// Makes the calling thread the main thread. Attaching another one after a closure was handed
    /// over ends the process.
    void attach();

    [[nodiscard]] bool is_main_thread() const noexcept;

    /// Readable exactly while a closure is queued. To be watched, not read; stays open.
    [[nodiscard]] int fd() const noexcept;

    /// Runs the closures that were queued when it was called, one at a time. May be called from
    /// inside a closure, for a nested loop.
    ///
    /// Threading: main thread.
    void drain();

    /// Drains until `quit()` is called.
    ///
    /// Threading: main thread.
    void run();

    /// Ends the innermost `run()` after the closure that calls it; without one, does nothing.
    ///
    /// Threading: main thread.
    void quit();

    /// Drains until `predicate` holds, which is asked at first and after every drain, or until
    /// `at_most` has passed. Says whether it holds. With an `at_most` of zero it drains once.
    ///
    /// Threading: main thread.
    bool run_until(const std::function<bool()>& predicate,
                   std::optional<std::chrono::nanoseconds> at_most = {});

    /// Drains for as long as `duration`.
    ///
    /// Threading: main thread.
    void run_for(std::chrono::nanoseconds duration);

    /// Queues `closure` and returns. The closure is destroyed on the main thread, after it has run.
    ///
    /// Threading: any.
    void async(std::function<void()> closure);

    /// Runs `closure` on the main thread and returns when it has run; on the main thread, in place.
    ///
    /// Threading: any, but never while the main thread waits for the caller.
    void sync(FunctionRef<void()> closure);

    /// While it lives, a hand-over from this thread ends the process: what it guards may be waited
    /// for by the main thread.
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
/// Errors: a closure without a result may throw, into the main thread's loop. One that owes a
/// result to another thread must not: the process ends.
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
