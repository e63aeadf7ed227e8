#pragma once

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

} // namespace orv
