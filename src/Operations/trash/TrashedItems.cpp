#include "Operations/trash/TrashedItems.hpp"

#include "files/FreeSpace.hpp"
#include "trash/DirectorySizes.hpp"

#include <set>
#include <string>

namespace orv {
namespace {

std::int64_t size_of_folder(const TrashFolder& trash, const TrashEntry& entry,
                            DirectorySizes& sizes, FunctionRef<void()> poll)
{
    if (const auto kept = sizes.size_of(entry.name, entry.info_time))
        return *kept;
    const std::int64_t size = allocated_bytes(trash.url_of(entry.name), false, poll);
    if (entry.info)
        sizes.set(entry.name, entry.info_time, size);
    return size;
}

} // namespace

TrashedItem trashed_item(const TrashFolder& trash, const TrashEntry& entry)
{
    TrashedItem item{.url = trash.url_of(entry.name),
                     .original_url = trash.original_url(entry),
                     .deletion_date = entry.info ? entry.info->date : std::nullopt,
                     .is_dir = S_ISDIR(entry.facts.stx_mode),
                     .size = {}};
    if (!item.is_dir)
        item.size = static_cast<std::int64_t>(entry.facts.stx_size);
    return item;
}

std::vector<TrashedItem> trashed_items(const TrashFolder& trash, std::vector<Error>& failures,
                                       FunctionRef<void()> poll)
{
    DirectorySizes sizes(trash.folder());
    std::vector<TrashedItem> items;
    std::set<std::string> folders;
    for (const TrashEntry& entry : trash.entries()) {
        poll();
        items.push_back(trashed_item(trash, entry));
        if (entry.failure)
            failures.push_back(*entry.failure);
        if (!items.back().is_dir)
            continue;
        items.back().size = size_of_folder(trash, entry, sizes, poll);
        folders.insert(entry.name);
    }
    sizes.keep_only(folders);
    sizes.save();
    return items;
}

void keep_sizes_of_folders_in(const TrashFolder& trash)
{
    std::set<std::string> folders;
    for (const TrashEntry& entry : trash.entries())
        if (S_ISDIR(entry.facts.stx_mode))
            folders.insert(entry.name);
    DirectorySizes sizes(trash.folder());
    sizes.keep_only(folders);
    sizes.save();
}

} // namespace orv
