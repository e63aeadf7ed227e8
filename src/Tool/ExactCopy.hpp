#pragma once

#include "Tool/CopyRecord.hpp"
#include "Tool/MoveWatch.hpp"
#include "files/TransferItems.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/Url.hpp>

namespace orv {

/// Copies an item with everything in it, as a move needs it: nothing is left out, all of it is on
/// the disk in the end, and `record` tells what was copied. Links are copied as links, FIFOs and
/// sockets are made anew, files that are one under several names stay one.
///
/// `destination` is a hidden name. The caller removes what stands there after an error. What
/// `watch` leaves out is in neither the copy nor the record.
///
/// Errors: the platform's; that something was changed during the copy, or is of a kind that is not
/// copied. What could not be removed from the source afterwards is found out here: EBUSY for a
/// mounted volume, EROFS, EACCES or EPERM for what may not be changed; and EINVAL when the
/// destination lies in the source.
void copy_exactly(const SourceItem& source, const DestinationItem& destination, CopyRecord& record,
                  const MoveWatch& watch);

/// The error for an item at `url` that changed after it was copied.
[[nodiscard]] Error changed_while_moved(const Url& url);

} // namespace orv
