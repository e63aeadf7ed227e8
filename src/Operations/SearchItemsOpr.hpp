#pragma once

#include <orv/Operations/SearchItemsOpr.hpp>

#include <memory>
#include <string>

namespace orv {

/// Starts the search in the folder `inside`.
std::shared_ptr<SearchItemsOperation>
search_items(Url inside, std::string keyword, bool recursive, bool include_hidden_files,
             std::vector<SearchItemsOperation::Criteria> criterias,
             SearchItemsOperation::StatusClosure status_closure);

} // namespace orv
