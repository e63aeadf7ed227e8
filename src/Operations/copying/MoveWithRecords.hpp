#pragma once

#include "Tool/MoveWatch.hpp"
#include "files/NoReplaceRename.hpp"

#include <orv/utility/Url.hpp>

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

/// Moves the item at `from` to `to` on the same volume, a name for this item alone: attributes
/// stored there belong to a lost item. False, without effect, if `to` is on another volume.
///
/// Errors: those of `Tool::move_item` and of the database.
bool move_within_volume_with_records(const Url& from, const Url& to);

} // namespace orv
