#include "utility/WorkerPool.hpp"

#include <orv/utility/Fatal.hpp>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>

#include <pthread.h>
#include <signal.h>

namespace orv {
namespace {

constexpr auto idle_life = std::chrono::seconds(5);
thread_local bool is_worker = false;
thread_local int blocked_depth = 0;

/// Blocks the signals sent from outside while it lives: a thread started meanwhile never runs the
/// application's handlers for them. Those of a fault in the thread itself stay with it, for the
/// application's crash reports.
class SignalsBlocked {
public:
    SignalsBlocked()
    {
        sigset_t blocked;
        ::sigfillset(&blocked);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS})
            ::sigdelset(&blocked, fault);
        ::pthread_sigmask(SIG_SETMASK, &blocked, &before_);
    }
    ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t before_{};
};

} // namespace

class WorkerPool::Impl {
public:
    void async(std::function<void()> task)
    {
        std::unique_lock lock(mutex_);
        tasks_.push_back(std::move(task));
        provide_thread(lock);
    }

    void enter_blocked()
    {
        std::unique_lock lock(mutex_);
        --running_;
        provide_thread(lock);
    }

    void leave_blocked()
    {
        const std::lock_guard lock(mutex_);
        ++running_;
    }

private:
    /// Sees to it that every waiting task that may run is taken by a thread. An idle thread that
    /// was notified but is not awake yet still counts as idle, so each is counted for one task.
    void provide_thread(std::unique_lock<std::mutex>& lock)
    {
        const int wanted = std::min(static_cast<int>(tasks_.size()), at_once_ - running_);
        if (wanted <= 0)
            return;
        if (wanted <= idle_ + starting_) {
            wake_.notify_one();
            return;
        }
        ++starting_;
        lock.unlock();
        start_thread();
    }

    void start_thread()
    {
        const SignalsBlocked signals_blocked;
        try {
            std::thread([this] { work(); }).detach();
        } catch (const std::system_error&) {
            thread_failed();
        }
    }

    /// Without a new thread the waiting task runs on the next one that comes free; with none at all
    /// it never would.
    void thread_failed()
    {
        const std::lock_guard lock(mutex_);
        --starting_;
        if (threads_ + starting_ == 0)
            fatal("The worker pool couldn't start its first thread.");
    }

    void work()
    {
        ::pthread_setname_np(::pthread_self(), "orv-worker");
        is_worker = true;
        std::unique_lock lock(mutex_);
        --starting_;
        ++threads_;
        while (next_task_arrives(lock)) {
            std::function<void()> task = std::move(tasks_.front());
            tasks_.pop_front();
            ++running_;
            lock.unlock();
            task();
            task = nullptr;
            lock.lock();
            --running_;
        }
        --threads_;
    }

    bool next_task_arrives(std::unique_lock<std::mutex>& lock)
    {
        ++idle_;
        const bool arrived = wake_.wait_for(
            lock, idle_life, [this] { return !tasks_.empty() && running_ < at_once_; });
        --idle_;
        return arrived;
    }

    const int at_once_ = std::max(4, 2 * static_cast<int>(std::thread::hardware_concurrency()));
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<std::function<void()>> tasks_;
    int threads_ = 0;
    int starting_ = 0;
    int running_ = 0; // threads in a task, but for those blocked in it
    int idle_ = 0;
};

WorkerPool& WorkerPool::instance()
{
    static auto* pool = new WorkerPool;
    return *pool;
}

WorkerPool::WorkerPool() : impl_(std::make_unique<Impl>()) {}

void WorkerPool::async(std::function<void()> task)
{
    impl_->async(std::move(task));
}

WorkerPool::Blocked::Blocked()
{
    if (is_worker && blocked_depth++ == 0)
        instance().impl_->enter_blocked();
}

WorkerPool::Blocked::~Blocked()
{
    if (is_worker && --blocked_depth == 0)
        instance().impl_->leave_blocked();
}

} // namespace orv
