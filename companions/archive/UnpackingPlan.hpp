#pragma once

#include "archive/ArchiveDirectory.hpp"
#include "archive/EntryReader.hpp"
#include "archive/SourceTree.hpp"

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

namespace orv::archive {

/// One item to create.
struct PlannedItem {
    std::string_view path;               ///< below the destination, with nothing special in it
    const PlannedItem* folder = nullptr; ///< its folder; none in the destination itself
    const Entry* entry = nullptr;        ///< none for a folder known only from paths
    ItemKind kind = ItemKind::folder;
    bool is_left_out = false;               ///< a link that leads outside
    std::optional<std::uint32_t> mode = {}; ///< the permissions, where the archive knows them
};

/// The tree of an archive on the disk. Every folder stands before its contents.
struct UnpackingPlan {
    std::deque<PlannedItem> items;
    std::deque<std::string> new_paths; ///< items with a new name in place of a taken one
    std::uint64_t bytes = 0;           ///< of all files and links
};

/// Judges all entries of the archive before it creates anything. The names in `directory` become
/// paths below the destination; the plan refers to them and to the entries. Its memory is linear in
/// the size of the directory.
///
/// Errors: the reasons of `Zip::unzipFile` to refuse a whole archive.
[[nodiscard]] UnpackingPlan make_plan(const ArchiveToRead& archive, ArchiveDirectory& directory,
                                      EntryReader& reader, bool has_password,
                                      const ExpansionLimits& limits, const Job& job);

} // namespace orv::archive
