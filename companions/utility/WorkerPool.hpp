#pragma once

#include <functional>
#include <memory>

namespace orv {

class Worker;

/// The background threads on which requests work.
///
/// As many tasks run at once as keep the machine busy. The others wait their turn, in the order in
/// which they came. Some tasks do not count:
/// - one that waits for a person's answer or for another task, as it says with `Blocked`;
/// - one that waits briefly counts as a thread, of which there may be `max_threads`, but not as
///   running;
/// - one that makes no progress for a tenth of a second while others wait, as on a dead volume.
/// So neither a thousand open questions, nor a parent that waits for its child, nor a frozen volume
/// stops another request. A task that is done waiting goes on at once. Idle threads end after a few
/// seconds.
class WorkerPool {
public:
    /// Threads that tasks may hold at once, unless `set_max_threads` says otherwise.
    static constexpr int default_max_threads = 64;

    /// The one pool of the process; it is never destroyed.
    static WorkerPool& instance();

    /// Runs `task` on a background thread, as soon as one is free. Calls `refused` instead when no
    /// thread can be started and none is there that could come to it. Neither may throw.
    ///
    /// Threading: any. `refused` is called on any thread, also before `async` returns, and must not
    /// wait for anything.
    void async(std::function<void()> task, std::function<void()> refused = {});

    /// Sets how many threads tasks may hold at once; at least one.
    ///
    /// Threading: any.
    void set_max_threads(int count);
    [[nodiscard]] int max_threads() const;

    /// How long a wait may take: the main thread soon comes round, a person perhaps never answers.
    enum class Wait { brief, open_ended };

    /// While it lives, the calling task waits for something outside the pool. May be nested; then
    /// the outermost counts. Does nothing on other threads.
    class Blocked {
    public:
        explicit Blocked(Wait wait = Wait::open_ended);
        ~Blocked();
        Blocked(const Blocked&) = delete;
        Blocked& operator=(const Blocked&) = delete;

        /// Ends the wait for the task, which need not be awake yet.
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

/// Runs `task` on a background thread; it is dropped when there is none to be had.
///
/// Threading: any.
inline void bg_async(std::function<void()> task)
{
    WorkerPool::instance().async(std::move(task));
}

} // namespace orv
