#pragma once

#include "Operations/frame/Request.hpp"
#include "Operations/frame/TakenName.hpp"
#include "files/NoReplaceRename.hpp"

#include <orv/Operations/MoveOpr.hpp>

#include <memory>

namespace orv {

/// Starts the move of the item at `src_url` to `dest_url`, the symbolic links in both resolved
/// first.
std::shared_ptr<MoveOperation> move_item(const Url& src_url, const Url& dest_url,
                                         MoveOperation::StatusClosure status_closure);

/// State shared by the moves of a batch.
struct MoveSupport {
    FreeUrls free_urls = {};
    NoReplaceRename rename = NoReplaceRename();
};

/// Does the work of that request, on URLs without links.
MoveOperation::Status move_item(Request<MoveOperation>& request, const Url& src_url,
                                const Url& dest_url, MoveSupport& support);

} // namespace orv
