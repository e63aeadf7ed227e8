#pragma once

#include "Operations/frame/Request.hpp"
#include "Operations/frame/TakenName.hpp"

#include <orv/Operations/MoveOpr.hpp>

#include <memory>

namespace orv {

/// Starts the move of the item at `src_url` to `dest_url`, the symbolic links in both resolved
/// first.
std::shared_ptr<MoveOperation> move_item(const Url& src_url, const Url& dest_url,
                                         MoveOperation::StatusClosure status_closure);

/// Does the work of that request, on URLs without links. A batch shares `free_urls`.
MoveOperation::Status move_item(Request<MoveOperation>& request, const Url& src_url,
                                const Url& dest_url, FreeUrls& free_urls);

} // namespace orv
