#pragma once

#include <orv/Operations/MultiMoveOpr.hpp>
#include <orv/utility/Url.hpp>

#include <memory>
#include <vector>

namespace orv {

/// Starts the move of the items at `src_urls` into the folder at `dest_folder_url`.
std::shared_ptr<MultiMoveOperation> move_items(std::vector<Url> src_urls, Url dest_folder_url,
                                               MultiMoveOperation::StatusClosure status_closure);

} // namespace orv
