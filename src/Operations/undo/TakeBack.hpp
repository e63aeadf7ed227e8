#pragma once

#include "Operations/undo/UndoJournal.hpp"
#include "trash/Trashes.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/FunctionRef.hpp>

#include <optional>

namespace orv {

/// The reason the line cannot be taken back: an item is not as the request left it, or its former
/// place is taken. No value if it can. An exception from `poll` ends the check.
///
/// Errors: those of the database.
[[nodiscard]] std::optional<Error> refusal_of(const UndoLine& line, Trashes& trashes,
                                              FunctionRef<void()> poll);

/// Takes back the steps of a checked line, the last first. A line that was begun before goes on
/// where it ended. An exception from `poll` ends it between two steps.
///
/// Errors: those of a move and of `Trashes`; a new folder that is no longer empty.
void take_back(const UndoLine& line, Trashes& trashes, FunctionRef<void()> poll);

} // namespace orv
