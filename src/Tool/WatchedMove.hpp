#pragma once

#include "Tool/AroundNaming.hpp"
#include "Tool/MoveWatch.hpp"
#include "files/NoReplaceRename.hpp"

#include <orv/utility/Url.hpp>

namespace orv {

/// Moves an item as `Tool::move_item` or, with `replaces`, `Tool::move_item_replacing` does.
/// `rename` knows or learns how the volume of `to` renames. `watch` observes a move to another
/// volume, and can end it.
///
/// Threading: any.
/// Errors: those of the two; exceptions of `watch`.
void move_watched(const Url& from, const Url& to, bool replaces, NoReplaceRename& rename,
                  const AroundNaming& around, const MoveWatch& watch);

} // namespace orv
