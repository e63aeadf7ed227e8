#pragma once

#include <orv/Operations/MoveToTrashOpr.hpp>
#include <orv/utility/Url.hpp>

#include <memory>
#include <vector>

namespace orv {

/// Starts the throwing away of the items at `urls`.
std::shared_ptr<MoveToTrashOperation>
move_to_trash(std::vector<Url> urls, MoveToTrashOperation::StatusClosure status_closure);

} // namespace orv
