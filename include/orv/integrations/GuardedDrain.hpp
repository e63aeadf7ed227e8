#pragma once

#include <orv/utility/Fatal.hpp>
#include <orv/utility/MainQueue.hpp>

#include <exception>
#include <functional>
#include <string>

namespace orv {

/// Given what a closure threw, for event loops that no exception may pass. It must not throw.
///
/// Threading: main thread.
using ClosureExceptionHandler = std::function<void(std::exception_ptr)>;

/// Ends the process with a line that tells what was thrown.
[[noreturn]] inline void fatal_closure_exception(const std::exception_ptr& exception)
{
    try {
        std::rethrow_exception(exception);
    } catch (const std::exception& e) {
        fatal(std::string("A closure threw through the event loop: ") + e.what());
    } catch (...) {
        fatal("A closure threw through the event loop, something that is no std::exception.");
    }
}

/// Drains the main queue and gives what a closure throws to `handler` or, if that is empty, ends
/// the process. What else was queued stays queued.
///
/// Threading: main thread.
inline void guarded_drain(const ClosureExceptionHandler& handler) noexcept
{
    try {
        MainQueue::instance().drain();
    } catch (...) {
        if (!handler)
            fatal_closure_exception(std::current_exception());
        handler(std::current_exception());
    }
}

} // namespace orv
