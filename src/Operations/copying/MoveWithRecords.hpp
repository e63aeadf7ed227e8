#pragma once

#include <orv/utility/Url.hpp>

namespace orv {

/// Moves the item at `from` to `to`, with its attributes and those of everything below it. They are
/// stored for both places, on the disk, until the item has moved, and for the old one alone if it
/// does not. With `replaces`, the item takes the place of one that may stand at `to`; without, a
/// taken location is an error.
///
/// Errors: those of `Tool::move_item` and of the database.
void move_with_records(const Url& from, const Url& to, bool replaces);

} // namespace orv
