#pragma once

#include <orv/utility/Url.hpp>

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

namespace orv {

/// Facts the library stores about an item, beside the file itself.
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

    /// The stored attributes of the item at `url`; no value if it has none.
    ///
    /// Threading: any; waits for the database.
    /// Errors: those of the database.
    [[nodiscard]] static std::optional<CustomAttributes> fetch(const Url& url);

    /// The stored attributes of `urls`, by resolved location. Items without attributes are left
    /// out.
    ///
    /// Threading: any; waits for the database.
    /// Errors: those of the database.
    [[nodiscard]] static std::unordered_map<Url, CustomAttributes>
    fetch_all(const std::vector<Url>& urls);
};

/// Stores `attributes`, all of them or none. An element with only default values is not stored, and
/// its row goes. With `auto_update_order_numbers` each element with an order number gets its
/// position in the list. The parent folder then counts as custom sorted, or no longer if nothing in
/// it has an order number.
///
/// Threading: any; waits for the database.
/// Errors: those of the database.
void save_all(const std::vector<CustomAttributes>& attributes, bool auto_update_order_numbers);

} // namespace orv
