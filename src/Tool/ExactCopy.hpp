#pragma once

#include "Tool/CopyRecord.hpp"
#include "Tool/MoveWatch.hpp"
#include "files/TransferItems.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/Url.hpp>

namespace orv {

/// Copies an item with all its contents for a move: leaves nothing out, flushes all of it to the
/// disk, and records each copied item in `record`. Links stay links, FIFOs and sockets are new
/// ones, several names of one file stay one file.
///
/// `destination` is a hidden name. After an error the caller removes the items there. Items `watch`
/// leaves out are in neither the copy nor the record.
///
/// Errors: the platform's; a change during the copy; a kind of item no copy handles. Items the
/// source could not lose later show here: EBUSY for a mounted volume, EROFS, EACCES or EPERM for
/// immutable ones; EINVAL if the destination lies in the source.
void copy_exactly(const SourceItem& source, const DestinationItem& destination, CopyRecord& record,
                  const MoveWatch& watch);

/// The error for an item at `url` changed after its copy.
[[nodiscard]] Error changed_while_moved(const Url& url);

} // namespace orv
