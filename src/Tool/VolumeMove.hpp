#pragma once

#include "Tool/AroundNaming.hpp"
#include "Tool/MoveWatch.hpp"

#include <orv/utility/Url.hpp>

namespace orv {

/// Moves the item at `from` to `to` on another volume. Builds a complete copy hidden beside `to`,
/// flushes it to the disk and gives it its name. Only then removes the copied and unchanged items
/// of the source. With `replaces`, the copy takes the place of an item at `to`.
///
/// After a kill on the way the source is whole or the destination complete, and the next start of
/// the library removes the hidden rest.
///
/// Items `watch` leaves out stay in their folders at the source, and are not in the copy.
///
/// Threading: any.
/// Errors: those of `Tool::move_item`; exceptions of `watch`.
void move_across_volumes(const Url& from, const Url& to, bool replaces, const AroundNaming& around,
                         const MoveWatch& watch);

} // namespace orv
