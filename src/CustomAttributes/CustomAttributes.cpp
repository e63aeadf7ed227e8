#include "CustomAttributes/CustomAttributes.hpp"

#include "CustomAttributes/FollowedItems.hpp"
#include "Database/DBManager.hpp"

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

bool has_order_no(const CustomAttributes& attributes)
{
    return attributes.order_no.has_value();
}

/// Marks `folder` as custom sorted when one of the `attributes` just saved for items in it has an
/// order number, and as no longer so when neither one of them nor any item directly in it has.
void update_custom_sort_flags(const Url& folder, const std::vector<CustomAttributes>& attributes)
{
    const bool is_sorted = std::any_of(attributes.begin(), attributes.end(), has_order_no);
    CustomAttributes flags = CustomAttributes::fetch(folder).value_or(CustomAttributes{folder});
    if (is_sorted)
        flags.is_custom_sorted = flags.was_custom_sorted_at_least_once = true;
    else if (flags.is_custom_sorted && !RecCustomAttr::any_order_no_inside(record_key(folder)))
        flags.is_custom_sorted = false;
    else
        return;
    save_all({flags}, false);
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

CustomAttributes custom_attributes_of(const RecCustomAttr& record, Url url)
{
    return {std::move(url), record.is_protected != 0, record.order_no, record.is_custom_sorted != 0,
            record.was_custom_sorted_at_least_once != 0};
}

std::unordered_map<Url, CustomAttributes> fetch_attributes_where(std::string_view where,
                                                                 Arguments args)
{
    std::unordered_map<Url, CustomAttributes> found;
    for (const RecCustomAttr& record : RecCustomAttr::fetch_all(where, args)) {
        Url url = url_from_relative_path(record.relative_path);
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
