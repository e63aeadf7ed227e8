#include "CustomAttributes/RecCustomAttr.hpp"
#include "Misc/FileItem.hpp"
#include "Misc/PackageExtensions.hpp"
#include "Misc/Sorting.hpp"
#include "utility/FileNames.hpp"

#include <orv/Misc/ItemList.hpp>

#include <algorithm>
#include <utility>

namespace orv {

ItemList::ItemList(Url root, Url resolved_root)
    : root_(std::move(root)), resolved_root_(std::move(resolved_root))
{
}

FileItem ItemList::operator[](std::size_t index) const
{
    const Entry& entry = entries_[index];
    const Folder& folder = folders_[entry.folder];
    FileItem item = named_item({root_.appending(folder.relative_path),
                                resolved_root_.appending(folder.relative_path),
                                folder.relative_path, folder.level},
                               name(index), entry.mode);
    item.is_package = item.is_dir && !entry.is_plain_dir;
    item.size = size_of(index);
    item.inode = entry.inode;
    if (entry.has_creation_date)
        item.creation_date = entry.creation_date;
    item.modification_date = modification_date(index);
    if (const CustomAttributes* stored = attributes(index))
        item.custom_attributes = *stored;
    return item;
}

std::string_view ItemList::name(std::size_t index) const
{
    const Entry& entry = entries_[index];
    return folders_[entry.folder].names.c_str() + entry.name;
}

std::string ItemList::relative_path(std::size_t index) const
{
    const std::string& folder = folders_[entries_[index].folder].relative_path;
    const std::string_view own = name(index);
    std::string path;
    path.reserve(folder.size() + 1 + own.size());
    path = folder;
    if (!path.empty())
        path += '/';
    return path.append(own);
}

std::optional<std::int64_t> ItemList::size_of(std::size_t index) const
{
    const Entry& entry = entries_[index];
    return entry.has_size ? std::optional(entry.size) : std::nullopt;
}

std::optional<FileItem::Date> ItemList::modification_date(std::size_t index) const
{
    const Entry& entry = entries_[index];
    return entry.has_modification_date ? std::optional(entry.modification_date) : std::nullopt;
}

const CustomAttributes* ItemList::attributes(std::size_t index) const
{
    const std::uint32_t number = entries_[index].attributes;
    return number == 0 ? nullptr : &attributes_[number - 1];
}

void ItemList::sort(SortType sort)
{
    const auto facts_of = [this](std::size_t index) {
        const CustomAttributes* stored = attributes(index);
        const std::string_view own = name(index);
        return SortFacts{own,
                         name_parts(own).ext,
                         size_of(index).value_or(0),
                         modification_date(index),
                         stored ? stored->order_no : std::nullopt,
                         entries_[index].is_plain_dir};
    };
    arrange(sorted_order(entries_.size(), facts_of, sort));
}

void ItemList::arrange(const std::vector<std::size_t>& order)
{
    std::vector<Entry> arranged;
    arranged.reserve(order.size());
    for (const std::size_t index : order)
        arranged.push_back(entries_[index]);
    entries_ = std::move(arranged);
}

void ItemList::add(std::string_view folder, int level, std::string_view name,
                   const struct statx& facts)
{
    if (!(facts.stx_mask & STATX_TYPE))
        throw missing_facts(root_.appending(folder).appending(name));
    FileItem described;
    set_inode_size_and_dates(described, facts);
    Folder& place = folder_at(folder, level);
    entries_.push_back({described.size.value_or(0), described.inode,
                        described.creation_date.value_or(FileItem::Date()),
                        described.modification_date.value_or(FileItem::Date()),
                        static_cast<std::uint32_t>(folders_.size() - 1),
                        static_cast<std::uint32_t>(place.names.size()), 0, facts.stx_mode,
                        described.size.has_value(), described.creation_date.has_value(),
                        described.modification_date.has_value(),
                        S_ISDIR(facts.stx_mode) && !is_package_extension(name_parts(name).ext)});
    place.names.append(name).append(1, '\0');
}

void ItemList::append(const ItemList& other)
{
    struct Moved {
        std::uint32_t folder;
        std::uint32_t names;
    };
    std::vector<Moved> moved;
    moved.reserve(other.folders_.size());
    for (const Folder& folder : other.folders_) {
        Folder& place = folder_at(folder.relative_path, folder.level);
        moved.push_back({static_cast<std::uint32_t>(folders_.size() - 1),
                         static_cast<std::uint32_t>(place.names.size())});
        place.names += folder.names;
    }
    for (Entry entry : other.entries_) {
        entry.name += moved[entry.folder].names;
        entry.folder = moved[entry.folder].folder;
        entries_.push_back(entry);
    }
}

void ItemList::load_attributes()
{
    constexpr std::size_t at_a_time = 16'384; // keeps few whole items in memory
    if (!RecCustomAttr::any_records())
        return;
    for (std::size_t begin = 0; begin < size(); begin += at_a_time) {
        std::vector<FileItem> items;
        for (std::size_t i = begin; i < std::min(begin + at_a_time, size()); ++i)
            items.push_back((*this)[i]);
        load_all_custom_attrs(items);
        for (std::size_t i = 0; i < items.size(); ++i) {
            if (items[i].custom_attributes.are_default())
                continue;
            attributes_.push_back(std::move(items[i].custom_attributes));
            entries_[begin + i].attributes = static_cast<std::uint32_t>(attributes_.size());
        }
    }
}

/// The folder of the latest items, or else a new one.
ItemList::Folder& ItemList::folder_at(std::string_view relative_path, int level)
{
    if (folders_.empty() || folders_.back().relative_path != relative_path)
        folders_.push_back({std::string(relative_path), level, {}});
    return folders_.back();
}

} // namespace orv
