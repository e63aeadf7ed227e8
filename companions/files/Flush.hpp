#pragma once

#include <orv/utility/Url.hpp>

namespace orv {

/// Writes the open file or folder to its disk. The first failure is final: the system forgets what
/// it could not write, so that a second attempt would succeed without it.
///
/// Errors: the platform's, at `url`.
void flush(int item, const Url& url);

/// Whether `flush_volume` is as good as flushing each item: only for file systems and kernels that
/// are known to tell of what could not be written.
[[nodiscard]] bool can_flush_volume(int folder);

/// Writes all that is new on the volume of the open folder to its disk. What could not be written
/// since the folder was opened is a failure, too.
///
/// Errors: the platform's, at `url`.
void flush_volume(int folder, const Url& url);

} // namespace orv
