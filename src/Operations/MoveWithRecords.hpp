#pragma once

#include <orv/utility/Url.hpp>

namespace orv {

/// Gives the item at `from` the location `to`, where nothing may stand, and its attributes and
/// those of everything below it to the new places. They are stored for both places until the item
/// has moved; when it fails to, they stay so.
///
/// Errors: those of `Tool::move_item` and of the database.
void move_with_records(const Url& from, const Url& to);

} // namespace orv
