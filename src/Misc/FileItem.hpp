#pragma once

#include <orv/Misc/FileItem.hpp>
#include <orv/utility/Error.hpp>

#include <cstdint>
#include <string>
#include <string_view>

#include <sys/stat.h>

namespace orv {

/// The `statx` fields for an item's description.
inline constexpr unsigned item_facts_mask =
    STATX_TYPE | STATX_MODE | STATX_INO | STATX_SIZE | STATX_MTIME | STATX_BTIME;

/// Facts the items of one folder share. Computed once per folder, they leave one `statx` and no
/// work on paths for each item.
struct ItemFolder {
    Url url;
    Url resolved_url;          ///< with links resolved
    std::string relative_path; ///< from the root of the walk; empty for the root itself
    int level = 0;             ///< of the items in it; 1 in the root of the walk
};

/// Describes the item `name` of `folder` from its `facts`, the result of `statx` without following
/// a link.
///
/// Threading: any.
/// Errors: "Couldn't extract some resource values for url: \n…" when the facts lack the type.
[[nodiscard]] FileItem file_item(const ItemFolder& folder, std::string_view name,
                                 const struct statx& facts);

/// The item `name` of `folder` with the facts in its name and `mode`, except if it is a package.
[[nodiscard]] FileItem named_item(const ItemFolder& folder, std::string_view name,
                                  std::uint32_t mode);

/// Fills in size, dates and inode number, as far as `facts` tell them.
void set_inode_size_and_dates(FileItem& item, const struct statx& facts);

/// The error for the item at `url` with facts that lack even the type.
[[nodiscard]] Error missing_facts(const Url& url);

} // namespace orv
