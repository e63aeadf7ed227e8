#pragma once

#include <orv/utility/Url.hpp>

namespace orv {

/// Moves the item at `from` to `to` on another volume, where nothing may stand: a complete copy is
/// built out of sight beside `to`, flushed to the disk and put to its name; only then is removed
/// what was copied of the source and is unchanged since.
///
/// A process that is killed on the way leaves the source whole or the destination complete, and the
/// next start of the library removes what it has left hidden.
///
/// Threading: any. Nothing interrupts it.
/// Errors: as `Tool::move_item` says.
void move_across_volumes(const Url& from, const Url& to);

} // namespace orv
