#pragma once

#include "Tool/CopyRecord.hpp"
#include "Tool/MoveWatch.hpp"
#include "files/TransferItems.hpp"

namespace orv {

/// Looks whether everything that was copied of `source` is still what it was then, and nothing has
/// been added to it.
///
/// Errors: that something was changed; the platform's.
void check_unchanged(const SourceItem& source, const CopyRecord& record);

/// Reads all files of the copy, which is on its medium, back from there and compares them with
/// `source`.
///
/// Errors: that a copy differs; the platform's; what `watch` throws.
void check_reads_back(const SourceItem& source, const DestinationItem& copy,
                      const CopyRecord& record, const MoveWatch& watch);

/// Removes what was copied of `source` and is still what it was then; everything else stays, also
/// after a failure. Folders that hold what `watch` left out stay, too.
///
/// Errors: the first of those met: that something was changed or added; the platform's.
void remove_copied(const SourceItem& source, const CopyRecord& record, const MoveWatch& watch);

} // namespace orv
