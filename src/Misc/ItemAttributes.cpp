#include "CustomAttributes/CustomAttributes.hpp"
#include "CustomAttributes/FollowedItems.hpp"

#include <orv/Misc/FileItem.hpp>

#include <string>
#include <unordered_map>

namespace orv {
namespace {

bool is_known_to_be_no_link(const FileItem& item)
{
    return item.is_dir || item.size;
}

/// The keys of items, made from that of their folder, which neighbours share.
class ItemKeys {
public:
    RecordKey key_of(const FileItem& item)
    {
        const std::string name = item.url.last_path_component();
        if (!is_known_to_be_no_link(item) || name == "/" || name == "." || name == "..")
            return record_key(item.url);

        const Url folder = item.url.deleting_last_path_component();
        if (folder != folder_ || folder.empty()) {
            folder_key_ = record_key(folder);
            folder_ = folder;
        }
        return folder_key_.appending(name);
    }

private:
    Url folder_;
    RecordKey folder_key_{std::string()};
};

std::vector<RecordKey> keys_of(const std::vector<FileItem>& items)
{
    ItemKeys keys;
    std::vector<RecordKey> all;
    all.reserve(items.size());
    for (const FileItem& item : items)
        all.push_back(keys.key_of(item));
    return all;
}

using Records = std::unordered_map<std::string, RecCustomAttr>;

Records records_with(const std::vector<RecordKey>& keys)
{
    Records records;
    for (RecCustomAttr& record : RecCustomAttr::fetch_all(keys))
        records.emplace(record.relative_path, record);
    return records;
}

/// The identity of each item to follow, an empty one for the others. A link has none: its
/// attributes are those of its target.
std::vector<ItemIdentity> identities_of(const std::vector<FileItem>& items)
{
    std::vector<ItemIdentity> identities(items.size());
    for (std::size_t i = 0; i < items.size(); ++i)
        if (items[i].creation_date && items[i].inode != 0 && is_known_to_be_no_link(items[i]))
            identities[i] = {static_cast<std::int64_t>(items[i].inode),
                             items[i].creation_date->time_since_epoch().count()};
    return identities;
}

/// The records of the items after these were looked for at the places where they were before.
Records followed_records(const std::vector<FileItem>& items, const std::vector<RecordKey>& keys)
{
    const auto key_of = [&](std::size_t index) { return keys[index]; };
    std::vector<ItemIdentity> seen = identities_of(items);
    follow_to_seen_places({seen, key_of});
    Records records = records_with(keys);
    if (records.empty())
        return records;
    for (std::size_t i = 0; i < items.size(); ++i)
        if (!records.contains(keys[i].text()))
            seen[i] = {};
    return check_seen_places({seen, key_of}) ? records_with(keys) : records;
}

} // namespace

void load_all_custom_attrs(std::vector<FileItem>& items)
{
    if (!RecCustomAttr::any_records())
        return;
    const std::vector<RecordKey> keys = keys_of(items);
    const Records records = follows_items() ? followed_records(items, keys) : records_with(keys);
    if (records.empty())
        return;
    for (std::size_t i = 0; i < items.size(); ++i)
        if (const auto found = records.find(keys[i].text()); found != records.end())
            items[i].custom_attributes =
                custom_attributes_of(found->second, url_from_resolved_path(found->first));
}

void sync_save_all_custom_attrs(const std::vector<FileItem>& items, bool auto_update_order_numbers)
{
    std::vector<CustomAttributes> attributes;
    attributes.reserve(items.size());
    for (const FileItem& item : items)
        attributes.push_back(item.custom_attributes);
    save_all(attributes, auto_update_order_numbers);
}

} // namespace orv
