#pragma once

#include "trash/TrashFolder.hpp"

#include <orv/Operations/TrashedItem.hpp>
#include <orv/utility/Error.hpp>
#include <orv/utility/FunctionRef.hpp>

#include <vector>

namespace orv {

/// Describes an item as an application sees it; the size of a folder is left out.
[[nodiscard]] TrashedItem trashed_item(const TrashFolder& trash, const TrashEntry& entry);

/// Describes all items in the trash, and adds infos that cannot be read to `failures`. The sizes of
/// folders are those that are kept there; what is missing is added up and kept. What `poll` throws
/// ends it.
///
/// Errors: the platform's.
[[nodiscard]] std::vector<TrashedItem>
trashed_items(const TrashFolder& trash, std::vector<Error>& failures, FunctionRef<void()> poll);

/// Forgets the kept sizes of folders that have left the trash.
///
/// Errors: the platform's.
void keep_sizes_of_folders_in(const TrashFolder& trash);

} // namespace orv
