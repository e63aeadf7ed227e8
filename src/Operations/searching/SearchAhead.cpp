#include "Operations/searching/SearchAhead.hpp"

#include "utility/ContentSearch.hpp"
#include "utility/WorkerPool.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace orv {
namespace {

constexpr auto longest_wait = std::chrono::milliseconds(20); // between two looks for a cancel

struct SearchJob {
    enum class State { waiting, in_work, done };

    SearchedItem item;
    State state = State::waiting;
    std::exception_ptr error = {};
};

Error error_of(const SearchedItem& item, int code)
{
    return platform_error(code, item.folder->items.url.appending(item.name));
}

/// The open file; none if it is no longer regular or does not open.
FileDescriptor opened(const SearchedItem& item)
{
    FileDescriptor file(::openat(item.folder->descriptor.get(), item.name.c_str(),
                                 O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file && (errno == EMFILE || errno == ENFILE || errno == ENOMEM))
        throw error_of(item, errno);
    return file;
}

/// Reads a file to its end, as far as it is readable.
class FileInput {
public:
    /// `size` is the file's stated size. A file without one ends where reads yield nothing.
    FileInput(int file, std::size_t size) : file_(file), left_(size), is_size_known_(size > 0) {}

    std::size_t read(char* to, std::size_t size)
    {
        if (is_size_known_ && left_ == 0)
            return 0;
        ssize_t count = 0;
        do
            count = ::read(file_, to, size);
        while (count < 0 && errno == EINTR);
        const std::size_t got = count > 0 ? static_cast<std::size_t>(count) : 0;
        left_ -= std::min(left_, got);
        return got;
    }

private:
    int file_;
    std::size_t left_;
    bool is_size_known_;
};

/// Searches the content of `item`. Calls `check` often; an exception from it ends the search.
void look_into(SearchedItem& item, ContentSearch& search, FunctionRef<void()> check)
{
    const FileDescriptor file = opened(item);
    if (!file || ::statx(file.get(), "", AT_EMPTY_PATH, item_facts_mask, &item.facts) != 0 ||
        !S_ISREG(item.facts.stx_mode))
        return;
    FileInput input(file.get(), item.facts.stx_size);
    item.is_found =
        search.found_in([&](char* to, std::size_t size) { return input.read(to, size); }, check);
}

} // namespace

/// The work of all threads. It outlives the request's side for as long as the others need it.
class SearchAhead::Shop : public std::enable_shared_from_this<SearchAhead::Shop> {
public:
    Shop(TextSearch search, std::size_t max_items, FunctionRef<void()> meanwhile)
        : search_(std::move(search)), max_items_(max_items), meanwhile_(meanwhile), own_(search_)
    {
    }

    // Only the calling thread adds and takes, so their number is no secret to it.
    [[nodiscard]] bool is_empty() const { return jobs_.empty(); }
    [[nodiscard]] bool is_full() const { return jobs_.size() >= max_items_; }

    [[nodiscard]] bool is_first_done()
    {
        const std::lock_guard lock(mutex_);
        return jobs_.front().state == SearchJob::State::done;
    }

    void add(SearchedItem item)
    {
        const std::lock_guard lock(mutex_);
        const bool is_done = item.is_found;
        jobs_.push_back(
            {std::move(item), is_done ? SearchJob::State::done : SearchJob::State::waiting});
        if (is_done)
            return;
        waiting_.push_back(&jobs_.back());
        // During the walk, a thread woken for fewer files would soon sleep again.
        if (waiting_.size() >= max_items_ / 2)
            call_helper();
    }

    SearchedItem take()
    {
        std::unique_lock lock(mutex_);
        while (jobs_.front().state != SearchJob::State::done) {
            if (SearchJob* job = next_waiting()) {
                if (!waiting_.empty())
                    call_helper();
                work_on(*job, own_, meanwhile_, lock);
                if (job->error)
                    std::rethrow_exception(job->error);
            } else {
                wait(lock);
            }
        }
        SearchJob job = std::move(jobs_.front());
        jobs_.pop_front();
        lock.unlock();
        if (job.error)
            std::rethrow_exception(job.error);
        return std::move(job.item);
    }

    /// No further job begins. The others give up their current ones and come to an end.
    void close()
    {
        closed_ = true;
        std::unique_lock lock(mutex_);
        worth_waking_.notify_all();
        job_done_.wait(lock, [this] { return in_work_ == 0; });
        jobs_.clear();
    }

private:
    void wait(std::unique_lock<std::mutex>& lock)
    {
        job_done_.wait_for(lock, longest_wait);
        lock.unlock();
        meanwhile_();
        lock.lock();
    }

    void call_helper()
    {
        if (sleeping_ > 0)
            worth_waking_.notify_one();
        else if (helpers_ < max_helpers_)
            start_helper();
    }

    void start_helper()
    {
        ++helpers_;
        bg_async([self = shared_from_this()] { self->help(); });
    }

    void help()
    {
        ContentSearch search(search_);
        std::unique_lock lock(mutex_);
        while (!closed_) {
            if (SearchJob* job = next_waiting())
                work_on(
                    *job, search, [this] { check_open(); }, lock);
            else
                sleep(lock);
        }
    }

    void sleep(std::unique_lock<std::mutex>& lock)
    {
        ++sleeping_;
        {
            const WorkerPool::Blocked blocked(WorkerPool::Wait::brief);
            worth_waking_.wait(lock, [this] { return closed_ || !waiting_.empty(); });
        }
        --sleeping_;
    }

    void check_open() const
    {
        if (closed_)
            throw Exception();
    }

    SearchJob* next_waiting()
    {
        if (waiting_.empty() || closed_)
            return nullptr;
        SearchJob* job = waiting_.front();
        waiting_.pop_front();
        return job;
    }

    void work_on(SearchJob& job, ContentSearch& search, FunctionRef<void()> check,
                 std::unique_lock<std::mutex>& lock)
    {
        job.state = SearchJob::State::in_work;
        ++in_work_;
        lock.unlock();
        try {
            look_into(job.item, search, check);
        } catch (...) {
            job.error = std::current_exception();
        }
        lock.lock();
        job.state = SearchJob::State::done;
        --in_work_;
        job_done_.notify_one();
    }

    const TextSearch search_;
    const std::size_t max_items_;
    FunctionRef<void()> meanwhile_;
    ContentSearch own_; // of the calling thread
    const std::size_t max_helpers_ = std::max(1U, std::thread::hardware_concurrency()) - 1;

    std::mutex mutex_;
    std::condition_variable worth_waking_; // for the helpers
    std::condition_variable job_done_;     // for the calling thread
    std::deque<SearchJob> jobs_; // a deque: growing and shrinking at its ends moves no job
    std::deque<SearchJob*> waiting_;
    std::size_t in_work_ = 0;
    std::size_t helpers_ = 0;
    std::size_t sleeping_ = 0;
    std::atomic<bool> closed_ = false;
};

SearchAhead::SearchAhead(TextSearch search, std::size_t max_items, FunctionRef<void()> meanwhile)
    : shop_(std::make_shared<Shop>(std::move(search), max_items, meanwhile))
{
}

SearchAhead::~SearchAhead()
{
    shop_->close();
}

bool SearchAhead::is_empty() const
{
    return shop_->is_empty();
}

bool SearchAhead::is_full() const
{
    return shop_->is_full();
}

bool SearchAhead::is_first_done() const
{
    return shop_->is_first_done();
}

void SearchAhead::add(SearchedItem item)
{
    shop_->add(std::move(item));
}

SearchedItem SearchAhead::take()
{
    return shop_->take();
}

} // namespace orv
