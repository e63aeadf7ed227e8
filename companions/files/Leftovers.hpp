#pragma once

#include <chrono>

namespace orv {

/// Settles the leftovers of dead processes in the processed-files folder and behind their notes:
/// unfinished items go, items set aside get their names back, or go if their replacements are
/// there. The rest stays for the next start, as do leftovers on a volume that is away.
///
/// Settles notes in the background, each volume by itself, because a dead or frozen volume may not
/// answer for hours. A request on the same items meanwhile finds them as if another process were at
/// work: an item set aside gets a name like its own if a new item has taken it.
///
/// Threading: any. Waits for the end, but not longer than `longest_wait`.
void remove_leftovers(std::chrono::milliseconds longest_wait = std::chrono::seconds(1));

} // namespace orv
