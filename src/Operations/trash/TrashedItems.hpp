#pragma once

#include "trash/TrashFolder.hpp"

#include <orv/Operations/TrashedItem.hpp>
#include <orv/utility/Error.hpp>
#include <orv/utility/FunctionRef.hpp>

#include <vector>

namespace orv {

/// Describes an item as an application sees it, without the size of a folder.
[[nodiscard]] TrashedItem trashed_item(const TrashFolder& trash, const TrashEntry& entry);

/// Describes all items in the trash, and adds unreadable infos to `failures`. Takes the sizes of
/// folders from the trash's own list, and adds up and stores missing ones. An exception from `poll`
/// ends it.
///
/// Errors: the platform's.
[[nodiscard]] std::vector<TrashedItem>
trashed_items(const TrashFolder& trash, std::vector<Error>& failures, FunctionRef<void()> poll);

/// Forgets the stored sizes of folders that have left the trash.
///
/// Errors: the platform's.
void keep_sizes_of_folders_in(const TrashFolder& trash);

} // namespace orv
