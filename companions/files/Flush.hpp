#pragma once

#include <orv/utility/Url.hpp>

namespace orv {

/// Flushes the open file or folder to its disk. The first failure is final: the system forgets the
/// lost pages, and a second attempt would succeed without them.
///
/// Errors: the platform's, at `url`.
void flush(int item, const Url& url);

/// Flushes the parent folder of the item at `url`: no power cut gives the item its old name back,
/// or takes the new one away. An unreadable or lost folder cannot be flushed, and that is no
/// failure.
///
/// Errors: the platform's, at the folder.
void flush_folder_of(const Url& url);

/// True if the errors of the open item's volume are reliable: a file system on a disk or in memory,
/// neither FUSE nor a network volume.
[[nodiscard]] bool reports_faults(int item);

/// True if `flush_volume` is as good as a flush of each item: the volume and the kernel report
/// every lost write.
[[nodiscard]] bool can_flush_volume(int folder);

/// Flushes all new data on the volume of the open folder to its disk. A write lost since the folder
/// was opened is a failure, too.
///
/// Errors: the platform's, at `url`.
void flush_volume(int folder, const Url& url);

} // namespace orv
