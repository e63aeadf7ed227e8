#pragma once

#include <orv/Operations/FetchTrashedOpr.hpp>

#include <memory>

namespace orv {

/// Starts the listing of the trash folders of all mounted volumes.
std::shared_ptr<FetchTrashedOperation>
fetch_trashed_items(FetchTrashedOperation::StatusClosure status_closure);

} // namespace orv
