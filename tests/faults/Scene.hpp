#pragma once

#include "faults/Rows.hpp"
#include "support/Snapshot.hpp"

#include <orv/utility/Url.hpp>

#include <string>
#include <string_view>

namespace orv::test {

/// Everything that a request can touch: the items below the root of a site, and the rows.
struct Scene {
    Snapshot items;
    Rows rows;
    /// Items that are there, too, but are not looked at. "@" in a file's content stands for the
    /// root.
    Snapshot unwatched = {};
};

[[nodiscard]] ItemState folder(mode_t permissions = 0755);
[[nodiscard]] ItemState file(std::string content, mode_t permissions = 0644);
[[nodiscard]] ItemState link(std::string text);
[[nodiscard]] ItemState fifo();
/// A file of which nearly all is holes.
[[nodiscard]] ItemState sparse_file();

/// `size` bytes of which no two stretches are alike, so that a misplaced or missing part shows.
[[nodiscard]] std::string pattern(std::size_t size);

/// The tree that the requests work on: files of several sizes, an empty and a sparse one, links, a
/// FIFO, extended attributes, a folder that may not be written.
[[nodiscard]] Snapshot sample_tree();

/// Adds `tree` at `place`.
void put(Snapshot& items, const std::string& place, const Snapshot& tree);

/// Removes the item at `place` with all below it.
void take_away(Snapshot& items, const std::string& place);

/// Whether `path` is `place` or lies below it.
[[nodiscard]] bool is_at_or_below(std::string_view path, std::string_view place);

/// Makes the items below `root`, where nothing stands yet.
void build(const Url& root, const Snapshot& items);

/// Where the home trash of a site keeps its items, and the texts about them.
inline constexpr const char* trashed_items = "home/.local/share/Trash/files";
inline constexpr const char* trash_infos = "home/.local/share/Trash/info";

} // namespace orv::test
