#include "utility/Ahead.hpp"

#include "utility/WorkerPool.hpp"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

namespace orv {
namespace {

constexpr std::chrono::milliseconds moment(20);

} // namespace

class Ahead::Task {
public:
    explicit Task(std::function<void()> work) : work_(std::move(work)) {}

private:
    friend class Ahead::Shop;
    enum class State { waiting, running, done };

    std::function<void()> work_;
    std::exception_ptr failure_;
    State state_ = State::waiting; // under the shop's lock
};

class Ahead::Shop : public std::enable_shared_from_this<Shop> {
public:
    explicit Shop(unsigned threads) : threads_(threads) {}

    Handle add(std::function<void()> work)
    {
        auto task = std::make_shared<Task>(std::move(work));
        {
            const std::lock_guard lock(mutex_);
            waiting_.push_back(task);
            if (helpers_ == threads_)
                return task;
            ++helpers_;
        }
        bg_async([shop = shared_from_this()] { shop->help(); });
        return task;
    }

    bool done_in_a_moment(const Handle& task)
    {
        std::unique_lock lock(mutex_);
        if (task->state_ == Task::State::waiting) {
            waiting_.erase(std::find(waiting_.begin(), waiting_.end(), task));
            run(*task, lock);
        }
        if (!finished_.wait_for(lock, moment, [&] { return task->state_ == Task::State::done; }))
            return false;
        if (task->failure_)
            std::rethrow_exception(task->failure_);
        return true;
    }

    void close()
    {
        std::deque<Handle> given_up;
        std::unique_lock lock(mutex_);
        given_up.swap(waiting_);
        finished_.wait(lock, [&] { return running_ == 0; });
        for (const Handle& task : given_up)
            task->work_ = nullptr; // may own the holder of the task
    }

private:
    void help()
    {
        std::unique_lock lock(mutex_);
        while (!waiting_.empty()) {
            const Handle task = std::move(waiting_.front());
            waiting_.pop_front();
            run(*task, lock);
        }
        --helpers_;
    }

    void run(Task& task, std::unique_lock<std::mutex>& lock)
    {
        task.state_ = Task::State::running;
        ++running_;
        lock.unlock();
        try {
            task.work_();
        } catch (...) {
            task.failure_ = std::current_exception();
        }
        task.work_ = nullptr;
        lock.lock();
        --running_;
        task.state_ = Task::State::done;
        finished_.notify_all();
    }

    const unsigned threads_;
    std::mutex mutex_;
    std::condition_variable finished_;
    std::deque<Handle> waiting_;
    unsigned helpers_ = 0;
    unsigned running_ = 0;
};

Ahead::Ahead(unsigned threads) : shop_(std::make_shared<Shop>(threads)) {}

Ahead::~Ahead()
{
    shop_->close();
}

Ahead::Handle Ahead::add(std::function<void()> work)
{
    return shop_->add(std::move(work));
}

bool Ahead::done_in_a_moment(const Handle& task)
{
    return shop_->done_in_a_moment(task);
}

} // namespace orv
