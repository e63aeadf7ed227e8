#include "utility/FileDescriptor.hpp"
#include "utility/WorkerPool.hpp"

#include <orv/utility/Fatal.hpp>
#include <orv/utility/MainQueue.hpp>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <semaphore>
#include <string>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace orv {
namespace {

using Clock = std::chrono::steady_clock;

thread_local const pid_t this_thread_id = ::gettid();
thread_local int hand_overs_forbidden = 0;

// The place where a thread waits for its hand-over. It outlives the job, because its waker may
// still touch it after the wait.
thread_local std::binary_semaphore parking{0};

/// One queued closure, a link of the queue. `run` runs it once and disposes of it.
struct Job {
    void (*run)(Job&);
    std::uint64_t ticket = 0;
    Job* next = nullptr;
};

/// A hand-over; it lives on the stack of the waiting thread.
struct SyncJob : Job {
    explicit SyncJob(FunctionRef<void()> to_run) : Job{&run_and_wake}, closure(to_run) {}

    /// Ends the wait for the pool before the waiter wakes. Otherwise the pool would start a thread
    /// in its stead for the next closures.

    static void run_and_wake(Job& job)
    {
        auto& self = static_cast<SyncJob&>(job);
        struct Wake {
            SyncJob& done;
            ~Wake()
            {
                std::binary_semaphore& sleeper = done.waiter;
                done.blocked.end();
                sleeper.release();
            }
        } const wake{self};
        self.closure();
    }

    FunctionRef<void()> closure;
    std::binary_semaphore& waiter = parking;
    WorkerPool::Blocked blocked{WorkerPool::Wait::brief};
};

struct AsyncJob : Job {
    explicit AsyncJob(std::function<void()> to_run)
        : Job{&run_and_delete}, closure(std::move(to_run))
    {
    }

    static void run_and_delete(Job& job)
    {
        const std::unique_ptr<AsyncJob> self(static_cast<AsyncJob*>(&job));
        self->closure();
    }

    std::function<void()> closure;
};

/// The queued jobs and the event for the application's loop. The event changes inside the lock:
/// only so does it never disagree with the queue, however pushes and pops interleave.
class JobQueue {
public:
    JobQueue()
    {
        if (!event_)
            fatal("The main queue couldn't create its event descriptor.");
    }

    void push(Job& job)
    {
        const std::lock_guard lock(mutex_);
        job.ticket = ++last_ticket_;
        (last_ ? last_->next : first_) = &job;
        if (!last_)
            ::eventfd_write(event_.get(), 1);
        last_ = &job;
    }

    /// The first job, if its ticket is at most `last_ticket`.
    Job* pop(std::uint64_t last_ticket)
    {
        const std::lock_guard lock(mutex_);
        if (!first_ || first_->ticket > last_ticket)
            return nullptr;
        Job* job = std::exchange(first_, first_->next);
        if (!first_) {
            last_ = nullptr;
            eventfd_t count = 0;
            ::eventfd_read(event_.get(), &count);
        }
        return job;
    }

    std::uint64_t last_ticket()
    {
        const std::lock_guard lock(mutex_);
        return last_ticket_;
    }

    [[nodiscard]] int fd() const noexcept { return event_.get(); }

private:
    FileDescriptor event_{::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
    std::mutex mutex_;
    Job* first_ = nullptr;
    Job* last_ = nullptr;
    std::uint64_t last_ticket_ = 0;
};

/// The end of a wait; an unrepresentable one never ends.
std::optional<Clock::time_point> deadline_after(std::optional<std::chrono::nanoseconds> duration)
{
    const auto now = Clock::now();
    if (!duration || *duration > Clock::time_point::max() - now)
        return std::nullopt;
    return now + *duration;
}

int poll_timeout(Clock::time_point deadline)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, 3'600'000));
}

} // namespace

class MainQueue::Impl {
public:
    JobQueue jobs;
    std::atomic<pid_t> main_thread = ::getpid(); // the process's first thread
    std::atomic<bool> attached = false;
    std::atomic<bool> used = false;
    bool* quit_innermost_run = nullptr; // main thread only

    void wait(std::optional<Clock::time_point> deadline) const
    {
        pollfd event{jobs.fd(), POLLIN, 0};
        ::poll(&event, 1, deadline ? poll_timeout(*deadline) : -1);
    }

    /// Runs the closures queued now, until one of them sets `stop`.
    void drain(const bool& stop)
    {
        const std::uint64_t last_ticket = jobs.last_ticket();
        while (!stop) {
            Job* job = jobs.pop(last_ticket);
            if (!job)
                return;
            job->run(*job);
        }
    }
};

MainQueue& MainQueue::instance()
{
    static auto* queue = new MainQueue;
    return *queue;
}

MainQueue::MainQueue() : impl_(std::make_unique<Impl>()) {}

void MainQueue::attach()
{
    const bool is_another = impl_->main_thread != this_thread_id;
    if (is_another && (impl_->used || impl_->attached))
        fatal("Another thread was attached as the main thread after the main queue was in use.");
    impl_->main_thread = this_thread_id;
    impl_->attached = true;
}

bool MainQueue::is_main_thread() const noexcept
{
    return impl_->main_thread.load(std::memory_order_relaxed) == this_thread_id;
}

int MainQueue::fd() const noexcept
{
    return impl_->jobs.fd();
}

void MainQueue::drain()
{
    assert_main_thread("MainQueue::drain()");
    impl_->drain(false);
}

void MainQueue::run()
{
    assert_main_thread("MainQueue::run()");
    bool quit = false;
    struct Innermost {
        bool*& slot;
        bool* outer;
        ~Innermost() { slot = outer; }
    } const innermost{impl_->quit_innermost_run, std::exchange(impl_->quit_innermost_run, &quit)};
    while (!quit) {
        impl_->wait({});
        impl_->drain(quit);
    }
}

void MainQueue::quit()
{
    assert_main_thread("MainQueue::quit()");
    if (impl_->quit_innermost_run)
        *impl_->quit_innermost_run = true;
}

bool MainQueue::run_until(const std::function<bool()>& predicate,
                          std::optional<std::chrono::nanoseconds> at_most)
{
    assert_main_thread("MainQueue::run_until()");
    const auto deadline = deadline_after(at_most);
    if (predicate())
        return true;
    for (;;) {
        drain();
        if (predicate())
            return true;
        if (deadline && Clock::now() >= *deadline)
            return false;
        impl_->wait(deadline);
    }
}

void MainQueue::run_for(std::chrono::nanoseconds duration)
{
    run_until([] { return false; }, duration);
}

void MainQueue::async(std::function<void()> closure)
{
    impl_->used = true;
    impl_->jobs.push(*new AsyncJob(std::move(closure)));
}

void MainQueue::sync(FunctionRef<void()> closure)
{
    if (is_main_thread()) {
        closure();
        return;
    }
    if (hand_overs_forbidden > 0)
        fatal("A hand-over to the main thread was made from inside Database::sync.");
    impl_->used = true;
    SyncJob job(closure);
    impl_->jobs.push(job);
    parking.acquire();
}

MainQueue::ForbidHandOver::ForbidHandOver() noexcept
{
    ++hand_overs_forbidden;
}

MainQueue::ForbidHandOver::~ForbidHandOver()
{
    --hand_overs_forbidden;
}

void assert_bg_thread(const char* function)
{
    if (MainQueue::instance().is_main_thread())
        fatal(std::string(function) +
              " was called on the main thread, which it would block for ever.");
}

void assert_main_thread(const char* function)
{
    if (!MainQueue::instance().is_main_thread())
        fatal(std::string(function) + " was called off the main thread.");
}

} // namespace orv
