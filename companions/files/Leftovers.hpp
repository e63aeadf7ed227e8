#pragma once

#include <chrono>

namespace orv {

/// Settles what dead processes left in the processed-files folder and what their notes announce:
/// unfinished items go, items set aside get their names back or go if their replacements are there.
/// What cannot be settled stays for the next start, as does what is announced on a volume that is
/// away.
///
/// What notes announce is settled in the background, each volume by itself, since a dead or frozen
/// volume may not answer for hours. A request that works on the same items meanwhile finds them as
/// if another process were at it: an item that is set aside gets a name like its own when a new
/// item has taken it.
///
/// Threading: any. Waits until all is settled, but not longer than `longest_wait`.
void remove_leftovers(std::chrono::milliseconds longest_wait = std::chrono::seconds(1));

} // namespace orv
