#include "Operations/copying/FilesAhead.hpp"

#include "utility/WorkerPool.hpp"

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <mutex>
#include <utility>

namespace orv {
namespace {

// A few files are done sooner than a sleeping thread wakes up.
constexpr std::size_t worth_a_second_thread = 3;

struct CopyJob {
    enum class State { waiting, in_work, done };

    SourceItem source;
    DestinationItem destination;
    State state = State::waiting;
    std::optional<PartialFile> built = {};
    std::exception_ptr error = {};
};

} // namespace

/// The work of both threads. It outlives the request's side for as long as the second thread needs
/// it.
class FilesAhead::Shop : public std::enable_shared_from_this<FilesAhead::Shop> {
public:
    void add(SourceItem source, DestinationItem destination)
    {
        const std::lock_guard lock(mutex_);
        jobs_.push_back({std::move(source), std::move(destination)});
        if (++waiting_ < worth_a_second_thread)
            return;
        if (!has_second_thread_)
            start_second_thread();
        else if (second_thread_sleeps_)
            worth_waking_.notify_one();
    }

    std::optional<PartialFile> take()
    {
        std::unique_lock lock(mutex_);
        while (jobs_.front().state != CopyJob::State::done) {
            if (CopyJob* job = next_waiting())
                build(*job, content_, lock);
            else
                job_done_.wait(lock);
        }
        CopyJob job = std::move(jobs_.front());
        jobs_.pop_front();
        lock.unlock();
        if (job.error)
            std::rethrow_exception(job.error);
        return std::move(job.built);
    }

    /// No further job begins, and the second thread's current one comes to its end.
    void close()
    {
        std::unique_lock lock(mutex_);
        closed_ = true;
        worth_waking_.notify_one();
        job_done_.wait(lock, [this] { return !is_any_in_work(); });
        jobs_.clear();
    }

private:
    void start_second_thread()
    {
        has_second_thread_ = true;
        bg_async([self = shared_from_this()] { self->work(); });
    }

    void work()
    {
        FileContent content;
        std::unique_lock lock(mutex_);
        while (!closed_) {
            if (CopyJob* job = next_waiting())
                build(*job, content, lock);
            else
                sleep(lock);
        }
    }

    void sleep(std::unique_lock<std::mutex>& lock)
    {
        second_thread_sleeps_ = true;
        {
            const WorkerPool::Blocked blocked(WorkerPool::Wait::brief);
            worth_waking_.wait(lock,
                               [this] { return closed_ || waiting_ >= worth_a_second_thread; });
        }
        second_thread_sleeps_ = false;
    }

    /// Jobs begin in order, so the last ones wait.
    CopyJob* next_waiting()
    {
        return waiting_ == 0 || closed_ ? nullptr : &jobs_[jobs_.size() - waiting_];
    }

    void build(CopyJob& job, FileContent& content, std::unique_lock<std::mutex>& lock)
    {
        job.state = CopyJob::State::in_work;
        --waiting_;
        lock.unlock();
        try {
            std::optional<PartialFile> built =
                ItemCopier::build(job.source, job.destination, content);
            if (built)
                job.built.emplace(std::move(*built));
        } catch (...) {
            job.error = std::current_exception();
        }
        lock.lock();
        job.state = CopyJob::State::done;
        job_done_.notify_one();
    }

    [[nodiscard]] bool is_any_in_work() const
    {
        return std::any_of(jobs_.begin(), jobs_.end(),
                           [](const CopyJob& job) { return job.state == CopyJob::State::in_work; });
    }

    std::mutex mutex_;
    std::condition_variable worth_waking_; // for the second thread
    std::condition_variable job_done_;     // for the first
    std::deque<CopyJob> jobs_; // a deque: growing and shrinking at its ends moves no job
    std::size_t waiting_ = 0;  // the last jobs, not yet begun
    bool has_second_thread_ = false;
    bool second_thread_sleeps_ = false;
    bool closed_ = false;
    FileContent content_;
};

FilesAhead::FilesAhead() : shop_(std::make_shared<Shop>()) {}

FilesAhead::~FilesAhead()
{
    shop_->close();
}

void FilesAhead::add(SourceItem source, DestinationItem destination)
{
    shop_->add(std::move(source), std::move(destination));
}

std::optional<PartialFile> FilesAhead::take()
{
    return shop_->take();
}

} // namespace orv
