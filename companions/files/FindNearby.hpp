#pragma once

#include <orv/utility/Url.hpp>

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <unordered_set>

namespace orv {

/// Looks for items by their inode numbers: in `folder` first, then below it, then around it,
/// further and further up. Stays on its volume, follows no link, and gives up after `most_entries`
/// entries or half a second. Returns the places found, one for each number; the caller checks that
/// the item is the right one.
///
/// Threading: any. Folders closed to the user count as empty.
[[nodiscard]] std::unordered_map<std::uint64_t, Url>
find_nearby(const Url& folder, std::unordered_set<std::uint64_t> inodes, std::size_t most_entries);

} // namespace orv
