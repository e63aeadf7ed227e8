#pragma once

#include "Global/TestMode.hpp"
#include "utility/StopWatch.hpp"

#include <orv/utility/MainQueue.hpp>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

namespace orv {

/// The thread for the statuses of a request: the main thread, or for a part of a request the thread
/// at work on it.
enum class StatusThread { main, same };

/// The statuses of one request on their way to its caller, in order; several may share one
/// hand-over to the main thread.
///
/// Threading: one background thread.
template <class Status, class Closure>
class StatusBatch {
public:
    explicit StatusBatch(Closure closure, StatusThread taken_by = StatusThread::main)
        : closure_(std::move(closure)), taken_by_(taken_by)
    {
    }

    [[nodiscard]] bool has_listener() const { return static_cast<bool>(closure_); }

    /// Hands the status over, now or together with later ones: at once at first, in ever larger
    /// batches as they keep coming, each by itself in test mode.
    void add(Status status)
    {
        if (held_.empty())
            held_since_.reset();
        held_.push_back(std::move(status));
        const bool shares_no_hand_over = taken_by_ == StatusThread::same || intr_test_mode();
        if (held_.size() >= batch_size_ || shares_no_hand_over) {
            flush();
            batch_size_ = std::min(2 * batch_size_, max_batch_size);
        } else {
            flush_if_due();
        }
    }

    /// Hands over the held statuses. Then, in one step on the taking thread, asks `refused`, and
    /// delivers `status` unless it answers true. True if delivered.
    bool deliver_unless(FunctionRef<bool()> refused, const Status& status)
    {
        flush();
        bool delivered = false;
        hand_over([&] {
            delivered = !refused();
            if (delivered && closure_)
                closure_(status);
        });
        return delivered;
    }

    /// Hands over the held statuses if they are due.
    void flush_if_due()
    {
        if (!held_.empty() && held_since_.elapsed_time() > max_delay_s)
            flush();
    }

    /// Hands over the held statuses, and waits for the caller's callbacks.
    void flush()
    {
        while (next_ < held_.size())
            hand_over([this] { call_closure(); });
        held_.clear();
        next_ = 0;
    }

    /// Hands over the held statuses. Then, in one step on the taking thread, asks `last` for the
    /// final status, delivers it, and destroys the closure.
    void finish(FunctionRef<Status()> last)
    {
        flush();
        hand_over([&] {
            held_.push_back(last());
            finish_now();
        });
        while (closure_)
            hand_over([this] { finish_now(); });
    }

private:
    static constexpr std::size_t max_batch_size = 256;
    static constexpr double max_delay_s = 0.010;

    /// A status counts as delivered after the call of its closure, even after an exception from it:
    /// the exception goes to the application's loop, and the next hand-over continues with the next
    /// status.
    void call_closure()
    {
        while (next_ < held_.size()) {
            Status& status = held_[next_++];
            if (closure_)
                closure_(std::move(status));
        }
    }

    void hand_over(FunctionRef<void()> step)
    {
        if (taken_by_ == StatusThread::main)
            main_sync(step);
        else
            step();
    }

    void finish_now()
    {
        call_closure();
        closure_ = nullptr;
    }

    Closure closure_;
    StatusThread taken_by_;
    std::vector<Status> held_;
    std::size_t next_ = 0;
    std::size_t batch_size_ = 1;
    StopWatch held_since_;
};

} // namespace orv
