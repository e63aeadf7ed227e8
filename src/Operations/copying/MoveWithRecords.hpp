#pragma once

#include "Tool/MoveWatch.hpp"

#include <orv/utility/Url.hpp>

namespace orv {

/// Moves the item at `from` to `to`, with its attributes and those of everything below it. They are
/// stored for both places, on the disk, until the item has moved, and for the old one alone if it
/// does not. With `replaces`, the item takes the place of one that may stand at `to`; without, a
/// taken location is an error.
///
/// If there are attributes, the new name is written to its disk before they leave the old place.
/// When that fails, an item that replaced nothing is moved back.
///
/// Errors: those of `Tool::move_item` and of the database; "Couldn't move the item" if its new name
/// could not be written to its disk, and where it is then.
void move_with_records(const Url& from, const Url& to, bool replaces,
                       const MoveWatch& watch = unwatched());

/// Moves the item at `from` to `to` on the same volume, a name that is this item's alone:
/// attributes that are stored for it are those of an item that has gone. False, and nothing has
/// happened, if `to` is on another volume.
///
/// Errors: those of `Tool::move_item` and of the database.
bool move_within_volume_with_records(const Url& from, const Url& to);

} // namespace orv
