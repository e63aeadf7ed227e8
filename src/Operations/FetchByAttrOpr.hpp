#pragma once

#include <orv/Operations/FetchByAttrOpr.hpp>

#include <memory>
#include <optional>

namespace orv {

/// Starts the listing of the items with `attribute`.
std::shared_ptr<FetchByAttrOperation>
fetch_items_by_attribute(FetchByAttrOperation::Attribute attribute, std::optional<SortType> sort,
                         FetchByAttrOperation::IfGone if_gone,
                         FetchByAttrOperation::StatusClosure status_closure);

} // namespace orv
