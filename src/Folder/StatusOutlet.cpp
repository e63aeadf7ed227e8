#include "Folder/StatusOutlet.hpp"

#include "utility/WorkerPool.hpp"

#include <orv/utility/MainQueue.hpp>

#include <utility>

namespace orv {

void StatusOutlet::post(OrvFolder::Status status)
{
    if (!room_.try_acquire()) {
        const WorkerPool::Blocked blocked(WorkerPool::Wait::brief);
        room_.acquire();
    }
    main_async(
        [self = shared_from_this(), held = std::make_shared<OrvFolder::Status>(std::move(status))] {
            self->room_.release();
            self->take(std::move(*held));
        });
}

void StatusOutlet::close()
{
    is_closed_ = true;
    waiting_.clear();
    if (!is_delivering_)
        closure_ = nullptr;
}

void StatusOutlet::take(OrvFolder::Status status)
{
    if (is_closed_)
        return;
    waiting_.push_back(std::move(status));
    if (is_delivering_)
        return; // a nested loop runs in the closure, whose turn is not over
    struct Delivery {
        StatusOutlet& outlet;
        explicit Delivery(StatusOutlet& its_outlet) : outlet(its_outlet)
        {
            outlet.is_delivering_ = true;
        }
        ~Delivery()
        {
            outlet.is_delivering_ = false;
            if (outlet.is_closed_)
                outlet.closure_ = nullptr;
        }
    } const delivery{*this};
    while (!waiting_.empty()) {
        OrvFolder::Status next = std::move(waiting_.front());
        waiting_.pop_front();
        if (std::holds_alternative<OrvFolder::gone>(next))
            is_closed_ = true;
        if (closure_)
            closure_(std::move(next));
    }
}

} // namespace orv
