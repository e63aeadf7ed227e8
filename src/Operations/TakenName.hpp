#pragma once

#include "Operations/ErrorPlace.hpp"
#include "Operations/Request.hpp"

#include <orv/Operations/ConflictResolver.hpp>
#include <orv/utility/Error.hpp>
#include <orv/utility/Url.hpp>

#include <cstdint>
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

/// Refuses to replace the item at `destination` if it could not be removed afterwards.
///
/// Errors: `failure`, told its cause.
void check_can_be_replaced(const Url& destination, const Error& failure);

/// The same for an item that makes room for the one at `source`.
///
/// Errors: "Source path conflicts with destination path." if the source lies in it; "Destination
/// item couldn't be deleted while being overwritten.", told its cause.
void check_can_be_replaced(const Url& source, const Url& destination, const ErrorPlace& place,
                           std::source_location where = std::source_location::current());

/// Deletes the item at `destination` if its volume has no room for `bytes` beside it, but has room
/// once it is gone. Returns false if it stays until its replacement is complete.
///
/// Errors: `failure`, told its cause.
[[nodiscard]] bool makes_room_first(const Url& destination, std::int64_t bytes,
                                    const Error& failure);

/// The documented error for an item that could not be deleted.
[[nodiscard]] Error not_replaced(const ErrorPlace& place,
                                 std::source_location where = std::source_location::current());

} // namespace orv
