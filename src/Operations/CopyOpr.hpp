#pragma once

#include "Operations/copying/CopiesAhead.hpp"
#include "Operations/frame/Request.hpp"
#include "Operations/frame/TakenName.hpp"
#include "files/Staging.hpp"

#include <orv/Operations/CopyOpr.hpp>

#include <memory>

namespace orv {

/// Starts the copy of the item at `src_url` to `dest_url`, the symbolic links in both resolved
/// first.
std::shared_ptr<CopyOperation> copy_item(const Url& src_url, const Url& dest_url,
                                         CopyOperation::StatusClosure status_closure);

/// State shared by the copies of a batch.
struct CopySupport {
    FreeUrls free_urls = {};
    Staging staging = {};
    /// Of the next copy, with its descriptors leased; otherwise null.
    BuiltAhead* built = nullptr;
    /// True for the last copy.
    bool is_last = true;
    /// True once a copy has replaced an item.
    bool has_replaced = false;
};

/// Does the work of that request, on URLs without links.
CopyOperation::Status copy_item(Request<CopyOperation>& request, const Url& src_url,
                                const Url& dest_url, CopySupport& support);

} // namespace orv
