#pragma once

#include <orv/Operations/RestoreOpr.hpp>
#include <orv/Operations/TrashedItem.hpp>

#include <memory>
#include <vector>

namespace orv {

/// Starts the way back of `items` out of the trash.
std::shared_ptr<RestoreOperation> restore(std::vector<TrashedItem> items,
                                          RestoreOperation::StatusClosure status_closure);

} // namespace orv
