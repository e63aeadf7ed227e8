#pragma once

#include <orv/Operations/UndoOpr.hpp>

#include <memory>
#include <vector>

namespace orv {

/// Starts the taking back of the last request that changed something.
std::shared_ptr<UndoOperation> undo_last(UndoOperation::StatusClosure status_closure);

/// The requests that can be taken back, the last one first.
[[nodiscard]] std::vector<UndoableRequest> undoable_requests();

} // namespace orv
