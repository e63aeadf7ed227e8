#pragma once

#include "Tool/CopyRecord.hpp"
#include "files/TransferItems.hpp"

namespace orv {

/// Looks whether everything that was copied of `source` is still what it was then, and nothing has
/// been added to it.
///
/// Errors: that something was changed; the platform's.
void check_unchanged(const SourceItem& source, const CopyRecord& record);

/// Removes what was copied of `source` and is still what it was then; everything else stays, also
/// after a failure.
///
/// Errors: the first of those met: that something was changed or added; the platform's.
void remove_copied(const SourceItem& source, const CopyRecord& record);

} // namespace orv
