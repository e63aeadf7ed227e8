#pragma once

#include <orv/Operations/EmptyTrashOpr.hpp>

#include <chrono>
#include <memory>
#include <optional>

namespace orv {

/// Starts the deletion of the whole trash, or of items thrown away longer than `older_than` ago.
std::shared_ptr<EmptyTrashOperation> empty_trash(std::optional<std::chrono::seconds> older_than,
                                                 EmptyTrashOperation::StatusClosure status_closure);

} // namespace orv
