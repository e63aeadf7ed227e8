#pragma once

#include <orv/utility/Url.hpp>

namespace orv {

/// Writes the open file or folder to its disk. The first failure is final: the system forgets what
/// it could not write, so that a second attempt would succeed without it.
///
/// Errors: the platform's, at `url`.
void flush(int item, const Url& url);

/// Writes the folder that the item at `url` lies in to its disk, so that no power cut gives the
/// item back a name that it had, or takes away the one it has. A folder that may not be read, or is
/// gone, cannot be flushed, which is no failure.
///
/// Errors: the platform's, at the folder.
void flush_folder_of(const Url& url);

/// True if the volume of the open item is one whose errors can be relied on: a file system of a
/// disk or of memory, neither FUSE nor a network volume.
[[nodiscard]] bool reports_faults(int item);

/// True if `flush_volume` is as good as flushing each item: the volume and the kernel report all
/// that could not be written.
[[nodiscard]] bool can_flush_volume(int folder);

/// Writes all that is new on the volume of the open folder to its disk. What could not be written
/// since the folder was opened is a failure, too.
///
/// Errors: the platform's, at `url`.
void flush_volume(int folder, const Url& url);

} // namespace orv
