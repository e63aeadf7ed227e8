#include "Operations/transfer/Abandonable.hpp"

#include "utility/WorkerPool.hpp"

#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <utility>

namespace orv {
namespace {

/// How far the work has come. Both threads hold it.
class Progress {
public:
    void end(std::exception_ptr error)
    {
        const std::lock_guard lock(mutex_);
        is_done_ = true;
        error_ = std::move(error);
        changed_.notify_all();
    }

    void give_up()
    {
        const std::lock_guard lock(mutex_);
        is_given_up_ = true;
        changed_.notify_all();
    }

    void wait()
    {
        const WorkerPool::Blocked blocked;
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return is_done_ || is_given_up_; });
        if (!is_done_)
            throw Exception();
        if (error_)
            std::rethrow_exception(error_);
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool is_done_ = false;
    bool is_given_up_ = false;
    std::exception_ptr error_;
};

} // namespace

void do_abandonable(TransferRequest& request, std::function<void()> work)
{
    const auto progress = std::make_shared<Progress>();
    const auto task = [progress, work = std::move(work)] {
        try {
            work();
            progress->end({});
        } catch (...) {
            progress->end(std::current_exception());
        }
    };
    WorkerPool::instance().async(task, task); // in place if there are no threads
    request.do_part([progress] { progress->give_up(); }, [&] { progress->wait(); });
}

} // namespace orv
