#pragma once

#include "Tool/CopyRecord.hpp"
#include "Tool/MoveWatch.hpp"
#include "files/TransferItems.hpp"

namespace orv {

/// Checks that every copied item of `source` is unchanged, with nothing added.
///
/// Errors: a change; the platform's.
void check_unchanged(const SourceItem& source, const CopyRecord& record);

/// Reads all files of the copy back from its medium and compares them with `source`.
///
/// Errors: a copy that differs; the platform's; exceptions of `watch`.
void check_reads_back(const SourceItem& source, const DestinationItem& copy,
                      const CopyRecord& record, const MoveWatch& watch);

/// Removes the copied and unchanged items of `source`. All others stay, also after a failure, and
/// so do folders around items `watch` left out.
///
/// Errors: the first one: a change or an added item; the platform's.
void remove_copied(const SourceItem& source, const CopyRecord& record, const MoveWatch& watch);

} // namespace orv
