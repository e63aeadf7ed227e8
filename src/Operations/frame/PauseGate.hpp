#pragma once

#include "utility/WorkerPool.hpp"

#include <atomic>

namespace orv {

/// Holds up the worker of a request while the request is paused.
///
/// Threading: any.
class PauseGate {
public:
    void pause() { change(State::open, State::closed); }
    void resume() { change(State::closed, State::open); }

    /// Opens the gate for good.
    void end()
    {
        state_ = State::removed;
        state_.notify_all();
    }

    [[nodiscard]] bool is_closed() const
    {
        return state_.load(std::memory_order_relaxed) == State::closed;
    }

    /// Waits until the gate is open.
    void wait() const
    {
        if (!is_closed())
            return;
        const WorkerPool::Blocked blocked;
        state_.wait(State::closed);
    }

private:
    enum class State : int { open, closed, removed };

    void change(State from, State to)
    {
        state_.compare_exchange_strong(from, to);
        state_.notify_all();
    }

    std::atomic<State> state_ = State::open;
};

} // namespace orv
