#pragma once

#include <orv/Operations/MultiCopyOpr.hpp>
#include <orv/utility/Url.hpp>

#include <memory>
#include <vector>

namespace orv {

/// Starts the copy of the items at `src_urls` into the folder at `dest_folder_url`. An empty list
/// ends the process.
std::shared_ptr<MultiCopyOperation> copy_items(std::vector<Url> src_urls, Url dest_folder_url,
                                               MultiCopyOperation::StatusClosure status_closure);

} // namespace orv
