#pragma once

#include "Tool/AroundNaming.hpp"
#include "Tool/MoveWatch.hpp"

#include <orv/utility/Url.hpp>

namespace orv {

/// Moves an item as `Tool::move_item` or, with `replaces`, `Tool::move_item_replacing` does.
/// `watch` observes a move to another volume, and can end it.
///
/// Threading: any.
/// Errors: those of the two; exceptions of `watch`.
void move_watched(const Url& from, const Url& to, bool replaces, const AroundNaming& around,
                  const MoveWatch& watch);

} // namespace orv
