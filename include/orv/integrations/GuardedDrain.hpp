#pragma once

#include <orv/utility/Fatal.hpp>
#include <orv/utility/MainQueue.hpp>

#include <exception>
#include <functional>
#include <string>

namespace orv {

/// Receives an exception from a closure, for event loops without a way for exceptions. It must not
/// throw.
///
/// Threading: main thread.
using ClosureExceptionHandler = std::function<void(std::exception_ptr)>;

/// Ends the process with a line about the exception.
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

/// Drains the main queue. An exception from a closure goes to `handler` or, without one, ends the
/// process. Further closures stay queued.
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
