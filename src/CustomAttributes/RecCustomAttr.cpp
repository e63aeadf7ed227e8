#include "CustomAttributes/RecCustomAttr.hpp"

#include "CustomAttributes/RecordSql.hpp"
#include "CustomAttributes/RecordTree.hpp"
#include "Database/DBManager.hpp"

#include <unordered_map>

namespace orv {
namespace {

constexpr std::string_view table = "custom_attributes";
constexpr std::string_view select_where = "SELECT * FROM custom_attributes\nWHERE ";

Database& database()
{
    return shared_db_manager().db();
}

bool finds_any(std::string_view condition, Arguments args)
{
    bool found = false;
    const auto take = [&](const Row&) {
        found = true;
        return false;
    };
    database().query(sql("SELECT 1 FROM custom_attributes WHERE ", condition, " LIMIT 1"), args,
                     take);
    return found;
}

/// The records with these keys in a table with few rows. To read them all takes less time than to
/// look up each of many keys.
std::vector<RecCustomAttr> fetch_few(std::span<const RecordKey> keys)
{
    std::unordered_map<std::string, RecCustomAttr> all;
    for (RecCustomAttr& record : RecCustomAttr::fetch_all("1"))
        all.emplace(record.relative_path, record);
    std::vector<RecCustomAttr> found;
    for (const RecordKey& key : keys)
        if (const auto record = all.find(key.text()); record != all.end())
            found.push_back(std::move(all.extract(record).mapped()));
    return found;
}

} // namespace

RecCustomAttr RecCustomAttr::from_row(const Row& row)
{
    return {std::string(row.text(0)), row.integer(1), row.optional_integer(2), row.integer(3),
            row.integer(4)};
}

std::array<Argument, 5> RecCustomAttr::values() const
{
    return {relative_path, is_protected, argument(order_no), is_custom_sorted,
            was_custom_sorted_at_least_once};
}

std::optional<RecCustomAttr> RecCustomAttr::fetch(const RecordKey& key)
{
    return instance<RecCustomAttr>(
        database(), "SELECT * FROM custom_attributes\nWHERE relative_path = ?", {key.text()});
}

std::vector<RecCustomAttr> RecCustomAttr::fetch_all(std::span<const RecordKey> keys)
{
    if (!has_rows(database(), table, keys.size() + 1))
        return fetch_few(keys);
    std::vector<Argument> arguments;
    arguments.reserve(keys.size());
    for (const RecordKey& key : keys)
        arguments.emplace_back(key.text());
    return array_in<RecCustomAttr>(database(), sql(select_where, "relative_path IN ("), arguments);
}

std::vector<RecCustomAttr> RecCustomAttr::fetch_all(std::string_view where, Arguments args)
{
    return array<RecCustomAttr>(database(), sql(select_where, where), args);
}

std::vector<RecCustomAttr> RecCustomAttr::fetch_tree(const RecordKey& key)
{
    return fetch_all(RecordTree::condition, RecordTree(key).ranges());
}

void RecCustomAttr::replace_all(const std::vector<RecCustomAttr>& records)
{
    replace_in(database(), table, records);
}

bool RecCustomAttr::any_records()
{
    return finds_any("1", {});
}

bool RecCustomAttr::any_records_below(const RecordKey& key)
{
    const RecordTree tree(key);
    return finds_any(RecordTree::condition, tree.ranges());
}

bool RecCustomAttr::any_order_no_inside(const RecordKey& folder)
{
    const RecordTree tree(folder);
    return finds_any(
        sql(RecordTree::condition, " AND ", RecordTree::is_direct, " AND order_no IS NOT NULL"),
        joined(tree.ranges(), tree.direct()));
}

void RecCustomAttr::duplicate_record(const Url& for_url, const Url& replacing_to_url)
{
    duplicate_record(record_key(for_url), record_key(replacing_to_url));
}

void RecCustomAttr::duplicate_record(const RecordKey& for_key, const RecordKey& replacing_to_key)
{
    database().sync([&] {
        auto record = fetch(for_key);
        if (!record)
            return;
        record->relative_path = replacing_to_key.text();
        replace_in(database(), table, *record);
    });
}

void RecCustomAttr::duplicate_each_record(std::span<const RecordCopy> copies)
{
    std::vector<RecordKey> sources;
    sources.reserve(copies.size());
    for (const RecordCopy& copy : copies)
        sources.push_back(copy.from);

    database().sync([&] {
        std::unordered_map<std::string, RecCustomAttr> found;
        for (RecCustomAttr& record : fetch_all(sources))
            found.emplace(record.relative_path, record);

        std::vector<RecCustomAttr> duplicates;
        for (const RecordCopy& copy : copies) {
            const auto record = found.find(copy.from.text());
            if (record == found.end())
                continue;
            duplicates.push_back(record->second);
            duplicates.back().relative_path = copy.to.text();
        }
        replace_in(database(), table, duplicates);
    });
}

void RecCustomAttr::duplicate_records(const Url& whose_url_prefixed_with_url,
                                      const Url& replacing_prefix_to_url)
{
    duplicate_records(record_key(whose_url_prefixed_with_url), record_key(replacing_prefix_to_url));
}

void RecCustomAttr::duplicate_records(const RecordKey& prefix, const RecordKey& replacing_prefix_to)
{
    if (!any_records_below(prefix))
        return;
    const RecordTree from(prefix);
    const RecordTree to(replacing_prefix_to);
    database().execute(sql("REPLACE INTO custom_attributes (relative_path, is_protected, order_no,"
                           " is_custom_sorted, was_custom_sorted_at_least_once) SELECT ",
                           RecordTree::replaced_key,
                           ", is_protected, order_no, is_custom_sorted,"
                           " was_custom_sorted_at_least_once FROM custom_attributes WHERE ",
                           RecordTree::condition),
                       joined(from.replacement(to), from.ranges()));
}

void RecCustomAttr::delete_record(const RecordKey& key)
{
    database().execute("DELETE FROM custom_attributes WHERE relative_path = ?", {key.text()});
}

void RecCustomAttr::delete_records(const Url& whose_url_prefixed_with_url)
{
    delete_records(record_key(whose_url_prefixed_with_url));
}

void RecCustomAttr::delete_records(const RecordKey& prefix)
{
    const RecordTree tree(prefix);
    if (any_records_below(prefix))
        database().execute(sql("DELETE FROM custom_attributes WHERE ", RecordTree::condition),
                           tree.ranges());
}

} // namespace orv
