#include "utility/WorkerPool.hpp"

#include "utility/SignalsBlocked.hpp"
#include "utility/Worker.hpp"

#include <algorithm>
#include <chrono>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace orv {
namespace {

using Milliseconds = std::chrono::milliseconds;

constexpr Milliseconds idle_life(5000);
// Threads beyond the running limit remain from a burst.
constexpr Milliseconds spare_life(500);
constexpr Milliseconds look_interval(100);
// The system's own limits lie some ten times higher.
constexpr int max_stalled = 2000;

thread_local Worker* this_worker = nullptr;

struct Task {
    std::function<void()> run;
    std::function<void()> refused;
};

} // namespace

class WorkerPool::Impl {
public:
    void async(Task task)
    {
        std::unique_lock lock(mutex_);
        tasks_.push_back(std::move(task));
        provide_threads(lock);
    }

    void set_max_threads(int count)
    {
        std::unique_lock lock(mutex_);
        max_threads_ = std::max(count, 1);
        provide_threads(lock);
    }

    [[nodiscard]] int max_threads()
    {
        const std::lock_guard lock(mutex_);
        return max_threads_;
    }

    void begin_wait(Worker& worker, Worker::State wait)
    {
        std::unique_lock lock(mutex_);
        change(worker, wait);
        provide_threads(lock);
    }

    void end_wait(Worker& worker)
    {
        const std::lock_guard lock(mutex_);
        change(worker, Worker::State::running);
    }

private:
    void change(Worker& worker, Worker::State state, bool is_stalled = false)
    {
        count(worker, -1);
        worker.state = state;
        worker.is_stalled = is_stalled;
        count(worker, 1);
    }

    void count(const Worker& worker, int one)
    {
        if (worker.is_stalled) {
            stalled_ += one;
            return;
        }
        running_ += worker.state == Worker::State::running ? one : 0;
        held_ += worker.may_stall() ? one : 0;
    }

    /// True if one more task may run beside the tasks for `coming` threads.
    [[nodiscard]] bool has_room(int coming) const
    {
        return running_ + coming < at_once_ && held_ + coming < max_threads_;
    }

    /// Calls a thread for every task that may run. While tasks must wait, one thread stands by and
    /// looks for stalled ones.
    void provide_threads(std::unique_lock<std::mutex>& lock)
    {
        const auto needs_one = [this] {
            return static_cast<int>(tasks_.size()) > coming_ &&
                   (has_room(coming_) || (coming_ == 0 && !stand_by_));
        };
        while (needs_one())
            if (!call_thread(lock))
                return;
    }

    /// Another thread may have taken the task before the called one arrives.
    bool call_thread(std::unique_lock<std::mutex>& lock)
    {
        ++coming_;
        if (Worker* worker = take_waiting()) {
            worker->is_called = true;
            worker->called.notify_one();
            return true;
        }
        lock.unlock();
        const bool is_started = start_thread();
        lock.lock();
        if (!is_started) {
            --coming_;
            refuse_tasks_left_alone(lock);
        }
        return is_started;
    }

    /// The latest idle thread comes first: its memory is warm, and the others grow old.
    Worker* take_waiting()
    {
        if (stand_by_)
            return std::exchange(stand_by_, nullptr);
        if (idle_.empty())
            return nullptr;
        Worker* worker = idle_.back();
        idle_.pop_back();
        return worker;
    }

    bool start_thread()
    {
        const SignalsBlocked signals_blocked;
        try {
            std::thread([this] { work(); }).detach();
            return true;
        } catch (const std::exception&) { // no thread or no memory for one
            return false;
        }
    }

    /// Without a new thread, tasks wait for the next free one. None comes if all are stuck or wait
    /// for a person.
    void refuse_tasks_left_alone(std::unique_lock<std::mutex>& lock)
    {
        if (held_ + coming_ > 0)
            return;
        std::deque<Task> refused = std::exchange(tasks_, {});
        lock.unlock();
        for (const Task& task : refused)
            if (task.refused)
                task.refused();
        refused.clear(); // their contents may need the pool
        lock.lock();
    }

    void work()
    {
        ::pthread_setname_np(::pthread_self(), "orv-worker");
        Worker worker;
        this_worker = &worker;
        std::unique_lock lock(mutex_);
        workers_.push_back(&worker);
        --coming_;
        do {
            while (!tasks_.empty() && has_room(0))
                run_first_task(worker, lock);
        } while (is_wanted(worker, lock));
        std::erase(workers_, &worker);
        this_worker = nullptr;
    }

    void run_first_task(Worker& worker, std::unique_lock<std::mutex>& lock)
    {
        Task task = std::move(tasks_.front());
        tasks_.pop_front();
        worker.forget_looks();
        change(worker, Worker::State::running);
        provide_threads(lock); // this one may have been standing by
        lock.unlock();
        task.run();
        task = {};
        lock.lock();
        change(worker, Worker::State::idle);
    }

    /// Waits until there may be something to do. False when the thread is to end.
    bool is_wanted(Worker& worker, std::unique_lock<std::mutex>& lock)
    {
        if (!tasks_.empty() && !stand_by_) {
            stand_by_ = &worker;
            if (!is_called(worker, lock, look_interval)) {
                stand_by_ = nullptr;
                look_for_stalled();
            }
            return true;
        }
        idle_.push_back(&worker);
        const bool is_spare = idle_.size() > static_cast<std::size_t>(at_once_);
        if (is_called(worker, lock, is_spare ? spare_life : idle_life))
            return true;
        std::erase(idle_, &worker);
        return false;
    }

    bool is_called(Worker& worker, std::unique_lock<std::mutex>& lock, Milliseconds at_most)
    {
        if (!worker.called.wait_for(lock, at_most, [&] { return worker.is_called; }))
            return false;
        worker.is_called = false;
        --coming_;
        return true;
    }

    void look_for_stalled()
    {
        for (Worker* worker : workers_) {
            if (!worker->may_stall())
                continue;
            const bool is_stalled =
                worker->has_rested() && (worker->is_stalled || stalled_ < max_stalled);
            change(*worker, worker->state, is_stalled);
        }
    }

    const int at_once_ = std::max(4, 2 * static_cast<int>(std::thread::hardware_concurrency()));
    std::mutex mutex_;
    int max_threads_ = default_max_threads;
    std::deque<Task> tasks_; // not yet begun
    std::vector<Worker*> workers_;
    std::vector<Worker*> idle_;
    Worker* stand_by_ = nullptr;
    int coming_ = 0;  // threads called or started for a task, on their way
    int running_ = 0; // stalled threads do not count
    int held_ = 0;    // running or waiting briefly
    int stalled_ = 0;
};

WorkerPool& WorkerPool::instance()
{
    static auto* pool = new WorkerPool;
    return *pool;
}

WorkerPool::WorkerPool() : impl_(std::make_unique<Impl>()) {}

void WorkerPool::async(std::function<void()> task, std::function<void()> refused)
{
    impl_->async({std::move(task), std::move(refused)});
}

void WorkerPool::set_max_threads(int count)
{
    impl_->set_max_threads(count);
}

int WorkerPool::max_threads() const
{
    return impl_->max_threads();
}

WorkerPool::Blocked::Blocked(Wait wait)
{
    if (!this_worker || this_worker->blocked_depth++ > 0)
        return;
    waiting_ = this_worker;
    instance().impl_->begin_wait(*waiting_, wait == Wait::brief ? Worker::State::waits_briefly
                                                                : Worker::State::waits_open_ended);
}

WorkerPool::Blocked::~Blocked()
{
    end();
    if (this_worker)
        --this_worker->blocked_depth;
}

void WorkerPool::Blocked::end()
{
    if (Worker* worker = std::exchange(waiting_, nullptr))
        instance().impl_->end_wait(*worker);
}

} // namespace orv
