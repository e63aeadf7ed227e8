#pragma once

#include <functional>
#include <memory>

namespace orv {

class Worker;

/// The background threads of requests.
///
/// Runs as many tasks at once as keep the machine busy. The others wait their turn, in order of
/// arrival. Some tasks do not count:
/// - a task in wait for a person's answer or for another task; it says so with `Blocked`;
/// - a task in a brief wait counts as one of the `max_threads` threads, but not as running;
/// - a task without progress for a tenth of a second while others wait, as on a dead volume.
///
/// So neither a thousand open questions, nor a parent in wait for its child, nor a frozen volume
/// stops another request. A task goes on at once after its wait. Idle threads end after a few
/// seconds.
class WorkerPool {
public:
    /// Threads for tasks at once, before a call of `set_max_threads`.
    static constexpr int default_max_threads = 64;

    /// The one pool of the process; it never dies.
    static WorkerPool& instance();

    /// Runs `task` on the next free background thread. Calls `refused` instead if no thread starts
    /// and no existing one could take the task. Neither may throw.
    ///
    /// Threading: any. `refused` runs on any thread, perhaps before `async` returns, and must not
    /// wait for anything.
    void async(std::function<void()> task, std::function<void()> refused = {});

    /// Sets how many threads tasks may hold at once; at least one.
    ///
    /// Threading: any.
    void set_max_threads(int count);
    [[nodiscard]] int max_threads() const;

    /// How long a wait may take: the main thread soon comes round, a person perhaps never answers.
    enum class Wait { brief, open_ended };

    /// During its lifetime the calling task waits for something outside the pool. May be nested;
    /// the outermost counts. Does nothing on other threads.
    class Blocked {
    public:
        explicit Blocked(Wait wait = Wait::open_ended);
        ~Blocked();
        Blocked(const Blocked&) = delete;
        Blocked& operator=(const Blocked&) = delete;

        /// Ends the wait of the task before the task wakes.
        ///
        /// Threading: any, one at a time.
        void end();

    private:
        Worker* waiting_ = nullptr; // none when it changes nothing
    };

private:
    WorkerPool();
    ~WorkerPool() = delete;

    class Impl;
    std::unique_ptr<Impl> impl_;
};

/// Runs `task` on a background thread; drops it if there is none.
///
/// Threading: any.
inline void bg_async(std::function<void()> task)
{
    WorkerPool::instance().async(std::move(task));
}

} // namespace orv
