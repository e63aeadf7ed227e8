#pragma once

#include "Tool/AroundNaming.hpp"
#include "Tool/MoveWatch.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/Url.hpp>

#include <string>

namespace orv {

/// Moves the item at `from` to `to` on another volume. A complete copy is built hidden beside `to`,
/// flushed to the disk and given its name. Only then the source goes, as far as it was copied and
/// is unchanged since. With `replaces`, the copy takes the place of an item that stands at `to`.
///
/// A process that is killed on the way leaves the source whole or the destination complete, and the
/// next start of the library removes what it has left hidden.
///
/// What `watch` leaves out stays in its folders at the source, and is not in the copy.
///
/// Threading: any.
/// Errors: as `Tool::move_item` says; what `watch` throws.
void move_across_volumes(const Url& from, const Url& to, bool replaces, const AroundNaming& around,
                         const MoveWatch& watch);

/// The error of a move that has reached its destination, but is not done, as `what` tells. Without
/// saying so it would mislead.
[[nodiscard]] Error error_at_destination(const std::string& what, const Error& cause);

} // namespace orv
