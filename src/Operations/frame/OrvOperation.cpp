#include "Operations/frame/OperationAccess.hpp"

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
        if (cancel_part_)
            cancel_part_();
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
