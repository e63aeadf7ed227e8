#pragma once

#include "Operations/frame/Tally.hpp"

#include <orv/Operations/DeleteOpr.hpp>

#include <memory>

namespace orv {

/// Starts the deletion of the item at `url`.
std::shared_ptr<DeleteOperation> delete_item(Url url,
                                             DeleteOperation::StatusClosure status_closure);

/// Deletes the item at `url` and its attribute rows, as the operation does it, and counts it.
///
/// Threading: background.
/// Errors: those of the operation.
void delete_item_and_records(const Url& url, Tally& tally);

} // namespace orv
