#include "Operations/OperationAccess.hpp"

#include <orv/Operations/OrvOperation.hpp>
#include <orv/utility/MainQueue.hpp>

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
    main_sync([this] { is_cancelled_ = true; });
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

} // namespace orv
