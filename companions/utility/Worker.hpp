#pragma once

#include <condition_variable>
#include <optional>

#include <pthread.h>
#include <time.h>

namespace orv {

/// One thread of the worker pool, as the pool sees it.
///
/// Threading: the pool's lock guards it; `blocked_depth` belongs to the thread.
class Worker {
public:
    /// The thread's activity: waits for a call, runs a task, or waits within its task.
    enum class State { idle, running, waits_briefly, waits_open_ended };

    /// Describes the calling thread.
    Worker() { ::pthread_getcpuclockid(::pthread_self(), &clock_); }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    State state = State::idle;
    bool is_stalled = false;
    bool is_called = false;
    std::condition_variable called;
    int blocked_depth = 0;

    /// True if the task may be stuck: it runs, or waits for something quick.
    [[nodiscard]] bool may_stall() const
    {
        return state == State::running || state == State::waits_briefly;
    }

    /// Forgets the samples of `has_rested` at the start of a task.
    void forget_looks() { seen_ns_.reset(); }

    /// True if the thread has used next to no processor time since the last call.
    bool has_rested()
    {
        timespec used{};
        ::clock_gettime(clock_, &used);
        const long long now_ns = used.tv_sec * 1'000'000'000LL + used.tv_nsec;
        const bool rested = seen_ns_ && now_ns - *seen_ns_ < busy_ns;
        seen_ns_ = now_ns;
        return rested;
    }

private:
    // A call to a volume with answers after some 20 ms costs the thread about so much between two
    // looks. A thread with less is as good as stuck.
    static constexpr long long busy_ns = 100'000;

    clockid_t clock_{};
    std::optional<long long> seen_ns_;
};

} // namespace orv
