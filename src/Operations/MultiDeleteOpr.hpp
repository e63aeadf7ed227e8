#pragma once

#include <orv/Operations/MultiDeleteOpr.hpp>

#include <memory>
#include <vector>

namespace orv {

/// Starts the deletion of the items at `urls`, one after the other.
std::shared_ptr<MultiDeleteOperation>
delete_items(std::vector<Url> urls, MultiDeleteOperation::StatusClosure status_closure);

} // namespace orv
