#include "Operations/frame/OperationAccess.hpp"
#include "Operations/frame/RunningOperations.hpp"

#include <orv/Operations/OrvOperation.hpp>
#include <orv/utility/MainQueue.hpp>

#include <utility>

namespace orv {

OrvOperation::OrvOperation() : state_(std::make_shared<OperationState>()) {}

bool OrvOperation::is_busy() const
{
    return main_sync([this] { return is_busy_; });
}

bool OrvOperation::is_cancelled() const
{
    return main_sync([this] { return is_cancelled_.load(); });
}

void OrvOperation::cancel()
{
    main_sync([this] {
        is_cancelled_ = true;
        if (cancel_part_)
            cancel_part_();
        state_->pause.end();
    });
}

Amount OrvOperation::amount() const
{
    return state_->tally.amount();
}

std::vector<Url> OrvOperation::results() const
{
    return state_->tally.results();
}

std::vector<Failure> OrvOperation::failures() const
{
    return state_->tally.failures();
}

void OrvOperation::pause()
{
    state_->pause.pause();
}

void OrvOperation::resume()
{
    state_->pause.resume();
}

bool OrvOperation::is_paused() const
{
    return state_->pause.is_closed();
}

void OperationAccess::activate(const std::shared_ptr<OrvOperation>& operation)
{
    RunningOperations::add(operation);
    main_sync([&] { operation->is_busy_ = true; });
}

void OperationAccess::free(OrvOperation& operation)
{
    assert_main_thread("OrvOperation::free()");
    operation.is_busy_ = false;
    RunningOperations::remove(operation);
    operation.state_->pause.end();
}

bool OperationAccess::begin_part(OrvOperation& operation, std::function<void()> cancel_part)
{
    return main_sync([&] {
        if (operation.is_cancelled_)
            return false;
        operation.cancel_part_ = std::move(cancel_part);
        return true;
    });
}

void OperationAccess::end_part(OrvOperation& operation)
{
    main_sync([&] { operation.cancel_part_ = nullptr; });
}

} // namespace orv
