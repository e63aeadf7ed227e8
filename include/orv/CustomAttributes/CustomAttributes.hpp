#pragma once

#include <orv/utility/Url.hpp>

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

namespace orv {

/// What the library keeps about an item beside the file itself.
struct CustomAttributes {
    Url url = {};
    bool is_protected = false;
    /// The manual position of the item among its siblings.
    std::optional<std::int64_t> order_no = {};
    /// On a folder: its listing is in custom order.
    bool is_custom_sorted = false;
    /// On a folder: it has been in custom order before.
    bool was_custom_sorted_at_least_once = false;

    /// True when nothing differs from an item without stored attributes.
    [[nodiscard]] bool are_default() const;

    bool operator==(const CustomAttributes&) const = default;

    /// The stored attributes of the item at `url`; no value when none are stored.
    ///
    /// Threading: any; waits for the database.
    /// Errors: those of the database.
    [[nodiscard]] static std::optional<CustomAttributes> fetch(const Url& url);

    /// The stored attributes of those `urls` that have some, by their resolved location.
    ///
    /// Threading: any; waits for the database.
    /// Errors: those of the database.
    [[nodiscard]] static std::unordered_map<Url, CustomAttributes>
    fetch_all(const std::vector<Url>& urls);
};

/// Stores `attributes`; what is all default is not stored, and its row removed. All of them are
/// stored, or none. With `auto_update_order_numbers` each element that has an order number gets its
/// position in the list, and the folder that holds the items is marked as custom sorted, or no
/// longer so when nothing in it has an order number.
///
/// Threading: any; waits for the database.
/// Errors: those of the database.
void save_all(const std::vector<CustomAttributes>& attributes, bool auto_update_order_numbers);

} // namespace orv
