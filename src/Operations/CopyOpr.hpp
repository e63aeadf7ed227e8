#pragma once

#include "Operations/frame/Request.hpp"

#include <orv/Operations/CopyOpr.hpp>

#include <memory>

namespace orv {

/// Starts the copy of the item at `src_url` to `dest_url`, the symbolic links in both resolved
/// first.
std::shared_ptr<CopyOperation> copy_item(const Url& src_url, const Url& dest_url,
                                         CopyOperation::StatusClosure status_closure);

/// Does the work of that request, on URLs without links.
CopyOperation::Status copy_item(Request<CopyOperation>& request, const Url& src_url,
                                const Url& dest_url);

} // namespace orv
