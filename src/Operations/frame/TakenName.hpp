#pragma once

#include "Operations/frame/ErrorPlace.hpp"
#include "Operations/frame/Request.hpp"
#include "files/FreeName.hpp"

#include <orv/Operations/ConflictResolver.hpp>
#include <orv/utility/Error.hpp>
#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/Url.hpp>

#include <cstdint>
#include <memory>

namespace orv {

/// Asks the caller about the item at `destination`. The answer "stop" cancels the request and
/// throws `Exception`.
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

/// Finds such names for many items in one folder. The last name takes no longer than the first.
///
/// Threading: one thread.
class FreeUrls {
public:
    /// Works like `free_url`. The location counts as taken from then on.
    [[nodiscard]] Url next(const Url& taken, const Error& none_is_free);

private:
    FreeNames names_;
};

/// Refuses to replace the item at `destination` if it could not be removed later.
///
/// Errors: `failure`, told its cause.
void check_can_be_replaced(const Url& destination, const Error& failure);

/// The same for an item in the place of the one at `source`.
///
/// Errors: "Source path conflicts with destination path." if the source lies in it; "Destination
/// item couldn't be deleted while being overwritten.", with its cause.
void check_can_be_replaced(const Url& source, const Url& destination, const ErrorPlace& place,
                           std::source_location where = std::source_location::current());

/// True if the volume has no room for `bytes` beside the item at `destination`, but has room
/// without it. An exception from `poll` ends the count.
[[nodiscard]] bool only_fits_alone(const Url& destination, std::int64_t bytes,
                                   FunctionRef<void()> poll);

/// The same for a copy of the item at `source`, with `size` bytes.
[[nodiscard]] bool only_fits_alone(const Url& source, const Url& destination, std::int64_t size,
                                   FunctionRef<void()> poll);

/// Deletes the item to be replaced.
///
/// Errors: `failure`, told its cause.
void remove_replaced(const Url& destination, const Error& failure);

/// The documented error for an item that cannot be deleted.
[[nodiscard]] Error not_replaced(const ErrorPlace& place,
                                 std::source_location where = std::source_location::current());

} // namespace orv
