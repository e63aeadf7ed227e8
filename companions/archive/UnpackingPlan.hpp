#pragma once

#include "archive/ArchiveDirectory.hpp"
#include "archive/EntryReader.hpp"
#include "archive/SourceTree.hpp"

#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace orv::archive {

/// One item to be created.
struct PlannedItem {
    ItemKind kind = ItemKind::folder;
    std::optional<std::uint32_t> mode; ///< the permissions, where the archive knows them
    const Entry* entry = nullptr;      ///< none for a folder that is only part of a path
    std::string path_without_entry;
    std::string link_target;

    /// Below the destination, with nothing special in it.
    [[nodiscard]] const std::string& path() const
    {
        return entry ? entry->name : path_without_entry;
    }
};

/// What an archive becomes on the disk. Every folder stands before what is in it.
struct UnpackingPlan {
    std::deque<PlannedItem> items;
    std::uint64_t bytes = 0; ///< of all files
};

/// Judges all entries of the archive, before anything is created. The names in `directory` become
/// paths below `destination`; the plan refers to its entries.
///
/// Errors: those for which `Zip::unzipFile` refuses an archive as a whole.
[[nodiscard]] UnpackingPlan make_plan(const ArchiveToRead& archive, ArchiveDirectory& directory,
                                      EntryReader& reader, const Url& destination,
                                      bool has_password, const ExpansionLimits& limits,
                                      const Job& job);

} // namespace orv::archive
