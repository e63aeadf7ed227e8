#pragma once

#include "Operations/frame/Request.hpp"

#include <orv/Operations/DeleteOpr.hpp>
#include <orv/utility/FunctionRef.hpp>

#include <cstdint>
#include <memory>

namespace orv {

/// Starts the deletion of the item at `url`.
std::shared_ptr<DeleteOperation> delete_item(Url url,
                                             DeleteOperation::StatusClosure status_closure);

/// Deletes the item at `url` and its attribute rows, as the operation does. Calls `removed` after
/// each removed item.
///
/// Threading: background.
/// Errors: those of the operation.
void delete_item_and_records(const Url& url, FunctionRef<void()> removed);

/// The number of items at `url`, with all contents; -1 if unknown. Calls `poll` for each.
///
/// Threading: background.
std::int64_t items_to_delete(const Url& url, FunctionRef<void()> poll);

/// The same as a part of `request`, with its count, and pauses between two items.
template <class Operation>
void delete_for(Request<Operation>& request, const Url& url)
{
    delete_item_and_records(url, [&] {
        request.tally().add_items(1);
        request.wait_while_paused();
    });
    request.tally().add_result(url);
}

} // namespace orv
