#pragma once

#include "CustomAttributes/RecordKey.hpp"
#include "database/RecordConvertible.hpp"

#include <orv/utility/Url.hpp>

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

/// A second key for the record of an item.
struct RecordCopy {
    RecordKey from;
    RecordKey to;
};

/// A row of the table of attributes.
///
/// Functions with a key instead of a URL serve items about to go or move: make the key while the
/// item still exists. "Below" an item means its whole tree, without siblings whose names merely
/// begin alike.
///
/// Threading: any; each function is a turn of the database of its own unless the caller has one.
/// Errors: those of the database.
struct RecCustomAttr {
    std::string relative_path;
    std::int64_t is_protected = 0;
    std::optional<std::int64_t> order_no = {};
    std::int64_t is_custom_sorted = 0;
    std::int64_t was_custom_sorted_at_least_once = 0;

    static constexpr std::array<std::string_view, 5> columns{"relative_path", "is_protected",
                                                             "order_no", "is_custom_sorted",
                                                             "was_custom_sorted_at_least_once"};

    [[nodiscard]] static RecCustomAttr from_row(const Row& row);
    [[nodiscard]] std::array<Argument, 5> values() const;

    bool operator==(const RecCustomAttr&) const = default;

    [[nodiscard]] static std::optional<RecCustomAttr> fetch(const RecordKey& key);
    [[nodiscard]] static std::vector<RecCustomAttr> fetch_all(std::span<const RecordKey> keys);

    /// The records with `condition`, an expression over the columns.
    [[nodiscard]] static std::vector<RecCustomAttr> fetch_all(std::string_view where,
                                                              Arguments args = {});

    /// The records of an item and of everything below it.
    [[nodiscard]] static std::vector<RecCustomAttr> fetch_tree(const RecordKey& key);

    /// Stores all `records`, or none, in place of those with the same keys.
    static void replace_all(const std::vector<RecCustomAttr>& records);

    /// True if the table has any rows; otherwise no item needs a lookup.
    [[nodiscard]] static bool any_records();

    /// True if the item or anything below it has a row.
    [[nodiscard]] static bool any_records_below(const RecordKey& key);

    /// True if an item directly inside the folder has an order number.
    [[nodiscard]] static bool any_order_no_inside(const RecordKey& folder);

    /// Stores the record of one item for another one, too, and replaces that one's record. Does
    /// nothing without a record.
    static void duplicate_record(const Url& for_url, const Url& replacing_to_url);
    static void duplicate_record(const RecordKey& for_key, const RecordKey& replacing_to_key);

    /// The same for many items, all or none, as the records stand before the call.
    static void duplicate_each_record(std::span<const RecordCopy> copies);

    /// Stores the records of an item and of everything below it for another place, too. A record
    /// there gives way to its counterpart; without a counterpart it stays.
    static void duplicate_records(const Url& whose_url_prefixed_with_url,
                                  const Url& replacing_prefix_to_url);
    static void duplicate_records(const RecordKey& prefix, const RecordKey& replacing_prefix_to);

    /// Deletes the record of an item alone.
    static void delete_record(const RecordKey& key);

    /// Deletes the records of an item and of everything below it.
    static void delete_records(const Url& whose_url_prefixed_with_url);
    static void delete_records(const RecordKey& prefix);
};

} // namespace orv
