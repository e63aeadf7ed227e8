#pragma once

#include "utility/WorkerPool.hpp"

#include <atomic>
#include <cstdint>

namespace orv {

/// Holds up the worker of a paused request.
///
/// Threading: any.
class PauseGate {
public:
    void pause() { step_on_from(0); }
    void resume() { step_on_from(1); }

    /// Opens the gate for good.
    void end()
    {
        steps_ = ended;
        steps_.notify_all();
    }

    [[nodiscard]] bool is_closed() const { return steps_.load(std::memory_order_relaxed) % 2 == 1; }

    /// Waits for the next opening, unless the gate is open. A gate closed again at once still lets
    /// the worker pass: it would never get on otherwise.
    void wait() const
    {
        const std::uint32_t steps = steps_;
        if (steps % 2 == 0)
            return;
        const WorkerPool::Blocked blocked;
        steps_.wait(steps);
    }

private:
    /// Even, so open.
    static constexpr std::uint32_t ended = UINT32_MAX - 1;

    void step_on_from(std::uint32_t parity)
    {
        std::uint32_t steps = steps_;
        while (steps % 2 == parity && steps != ended)
            if (steps_.compare_exchange_weak(steps, (steps + 1) % ended)) {
                steps_.notify_all();
                return;
            }
    }

    std::atomic<std::uint32_t> steps_ = 0; // openings and closings
};

} // namespace orv
