#pragma once

#include <functional>
#include <memory>

namespace orv {

/// The background threads on which requests work.
///
/// As many tasks are started as keep the machine busy. A task that waits for the main thread or for
/// a person's answer says so with `Blocked` and does not count, so neither any number of waiting
/// requests nor a parent waiting for its child can stop another request. One that is done waiting
/// goes on at once, also beside others that have started meanwhile. Idle threads end after a few
/// seconds.
class WorkerPool {
public:
    /// The one pool of the process; it is never destroyed.
    static WorkerPool& instance();

    /// Runs `task` on a background thread, as soon as one is free. The task must not throw.
    ///
    /// Threading: any.
    void async(std::function<void()> task);

    /// While it lives, the calling task waits for something outside the pool. May be nested. Does
    /// nothing on other threads.
    class Blocked {
    public:
        Blocked();
        ~Blocked();
        Blocked(const Blocked&) = delete;
        Blocked& operator=(const Blocked&) = delete;
    };

private:
    WorkerPool();
    ~WorkerPool() = delete;

    class Impl;
    std::unique_ptr<Impl> impl_;
};

/// Runs `task` on a background thread.
///
/// Threading: any.
inline void bg_async(std::function<void()> task)
{
    WorkerPool::instance().async(std::move(task));
}

} // namespace orv
