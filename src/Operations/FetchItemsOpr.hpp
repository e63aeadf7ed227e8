#pragma once

#include <orv/Operations/FetchItemsOpr.hpp>

#include <memory>
#include <optional>

namespace orv {

/// Starts the listing of the folder `inside`.
std::shared_ptr<FetchItemsOperation> fetch_items(Url inside, bool recursive,
                                                 std::optional<SortType> sort,
                                                 bool include_hidden_files,
                                                 FetchItemsOperation::StatusClosure status_closure);

} // namespace orv
