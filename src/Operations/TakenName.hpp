#pragma once

#include "Operations/ErrorPlace.hpp"
#include "Operations/Request.hpp"

#include <orv/Operations/ConflictResolver.hpp>
#include <orv/utility/Error.hpp>
#include <orv/utility/Url.hpp>

#include <memory>

namespace orv {

/// Asks the caller what to do about the item at `destination`. An answer to stop cancels the
/// request and throws `Exception`.
template <class Operation>
ConflictBehaviour ask_about(Request<Operation>& request, const Url& destination, bool is_mergeable)
{
    const ConflictBehaviour answer =
        request.ask(std::make_shared<ConflictResolver>(is_mergeable, destination));
    if (answer == ConflictBehaviour::stop) {
        request.cancel();
        throw Exception();
    }
    return answer;
}

/// The nearest location to `taken` whose name is free.
///
/// Errors: `none_is_free`, told the location.
[[nodiscard]] Url free_url(const Url& taken, const Error& none_is_free);

/// Deletes the item that is to be replaced.
///
/// Errors: `failure`, told its cause.
void remove_replaced(const Url& destination, const Error& failure);

/// Deletes the item at `destination`, which is to be replaced by the one at `source`.
///
/// Errors: "Source path conflicts with destination path." when the source lies in it; "Destination
/// item couldn't be deleted while being overwritten.", told its cause.
void make_room(const Url& source, const Url& destination, const ErrorPlace& place,
               std::source_location where = std::source_location::current());

} // namespace orv
