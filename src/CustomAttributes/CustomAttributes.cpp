#include "CustomAttributes/CustomSortFlags.hpp"
#include "CustomAttributes/FollowedItems.hpp"
#include "CustomAttributes/RecCustomAttr.hpp"
#include "Database/DBManager.hpp"

#include <orv/CustomAttributes/CustomAttributes.hpp>

#include <algorithm>

namespace orv {
namespace {

/// The same list, each order number in it replaced by the element's position.
std::vector<CustomAttributes> renumbered(std::vector<CustomAttributes> attributes)
{
    std::int64_t position = 0;
    for (CustomAttributes& element : attributes) {
        if (element.order_no)
            element.order_no = position;
        ++position;
    }
    return attributes;
}

RecCustomAttr record_of(const CustomAttributes& attributes, const RecordKey& key)
{
    return {key.text(), attributes.is_protected, attributes.order_no, attributes.is_custom_sorted,
            attributes.was_custom_sorted_at_least_once};
}

std::vector<RecordKey> keys_of(const std::vector<CustomAttributes>& attributes)
{
    std::vector<Url> urls;
    urls.reserve(attributes.size());
    for (const CustomAttributes& element : attributes)
        urls.push_back(element.url);
    return record_keys(urls);
}

void save(const std::vector<CustomAttributes>& attributes, const std::vector<RecordKey>& keys)
{
    std::vector<Argument> without_row;
    std::vector<RecCustomAttr> records;
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        if (attributes[i].are_default())
            without_row.emplace_back(keys[i].text());
        else
            records.push_back(record_of(attributes[i], keys[i]));
    }
    Database& database = shared_db_manager().db();
    execute_in(database, "DELETE FROM custom_attributes\nWHERE relative_path IN (", without_row);
    replace_in(database, "custom_attributes", records);
}

} // namespace

bool CustomAttributes::are_default() const
{
    return !is_protected && !order_no && !is_custom_sorted && !was_custom_sorted_at_least_once;
}

std::optional<CustomAttributes> CustomAttributes::fetch(const Url& url)
{
    const RecordKey key = record_key(url);
    if (follows_items())
        follow_item(url_from_resolved_path(key.text()));
    const auto record = RecCustomAttr::fetch(key);
    if (!record)
        return std::nullopt;
    return custom_attributes_of(*record, url_from_resolved_path(key.text()));
}

std::unordered_map<Url, CustomAttributes> CustomAttributes::fetch_all(const std::vector<Url>& urls)
{
    std::unordered_map<Url, CustomAttributes> found;
    if (urls.empty() || !RecCustomAttr::any_records())
        return found;
    for (const RecCustomAttr& record : RecCustomAttr::fetch_all(record_keys(urls))) {
        Url url = url_from_resolved_path(record.relative_path);
        CustomAttributes attributes = custom_attributes_of(record, url);
        found.insert_or_assign(std::move(url), std::move(attributes));
    }
    return found;
}

void save_all(const std::vector<CustomAttributes>& attributes, bool auto_update_order_numbers)
{
    if (attributes.empty())
        return;
    const std::vector<RecordKey> keys = keys_of(attributes);
    shared_db_manager().db().save_point([&] {
        if (!auto_update_order_numbers) {
            save(attributes, keys);
            return;
        }
        save(renumbered(attributes), keys);
        update_custom_sort_flags(attributes.front().url.deleting_last_path_component(), attributes);
    });
    if (follows_items())
        remember_items(keys);
}

} // namespace orv
