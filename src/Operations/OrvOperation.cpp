#include "Operations/OperationAccess.hpp"

#include <orv/Operations/OrvOperation.hpp>
#include <orv/utility/MainQueue.hpp>

#include <utility>

namespace orv {

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
        if (child_)
            child_->cancel();
    });
}

void OperationAccess::activate(OrvOperation& operation)
{
    main_sync([&] { operation.is_busy_ = true; });
}

void OperationAccess::free(OrvOperation& operation)
{
    assert_main_thread("OrvOperation::free()");
    operation.is_busy_ = false;
}

bool OperationAccess::start_child(OrvOperation& parent, std::shared_ptr<OrvOperation> child)
{
    return main_sync([&] {
        if (parent.is_cancelled_)
            return false;
        activate(*child);
        parent.child_ = std::move(child);
        return true;
    });
}

void OperationAccess::end_child(OrvOperation& parent)
{
    main_sync([&] { parent.child_ = nullptr; });
}

} // namespace orv
