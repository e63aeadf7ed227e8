#pragma once

#include "Tool/MoveWatch.hpp"
#include "files/NoReplaceRename.hpp"

#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/Url.hpp>

#include <cstddef>
#include <span>

namespace orv {

/// Moves the item at `from` to `to`, with its attributes and those of everything below it. The
/// attributes exist for both places, on the disk, until the item has moved; after a failure for the
/// old place alone. With `replaces`, the item takes the place of one at `to`; otherwise a taken
/// location is an error. `rename` knows or learns how the volume of `to` renames, so a request
/// keeps one for all moves into a folder.
///
/// An item with attributes is flushed under its new name before they leave the old place. If the
/// flush fails, an item that replaced nothing goes back.
///
/// Errors: those of `Tool::move_item` and of the database; "Couldn't move the item" if the flush of
/// its new name failed, and where the item is then.
void move_with_records(const Url& from, const Url& to, bool replaces, NoReplaceRename& rename,
                       const MoveWatch& watch = unwatched());

/// An item's move to a place on the same volume, a name for this item alone: attributes stored
/// there belong to a lost item.
struct MoveWithinVolume {
    Url from;
    Url to;
};

/// Makes the moves one after the other, all into one folder, with the attributes of the items.
/// Calls `poll` before each and `ended` after it: false, without effect, if the place is on another
/// volume. The first exception ends it; items moved before stay.
///
/// Errors: those of `Tool::move_item` and of the database.
void move_within_volume_with_records(std::span<const MoveWithinVolume> moves,
                                     FunctionRef<void()> poll,
                                     FunctionRef<void(std::size_t index, bool has_moved)> ended);

} // namespace orv
