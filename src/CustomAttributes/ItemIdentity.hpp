#pragma once

#include "CustomAttributes/RecordKey.hpp"
#include "database/RecordConvertible.hpp"

#include <orv/utility/Url.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orv {

/// Tells an item from every other one, whatever its name is now. Inode numbers return for other
/// items; together with the moment of creation they do not.
struct ItemIdentity {
    std::int64_t inode = 0;
    std::int64_t birth = 0; ///< nanoseconds since 1970

    bool operator==(const ItemIdentity&) const = default;
};

/// The identity of the item at `url`, of a link itself. No value for a missing item, and on a
/// volume that keeps no dates of creation.
[[nodiscard]] std::optional<ItemIdentity> identity_at(const Url& url);

/// A row of the table of identities: the item that the attributes with the same key belong to. The
/// table does not exist before the first row, and no row outlives its attributes.
///
/// Threading: any; each function is a turn of the database of its own unless the caller has one.
/// Errors: those of the database.
struct RecItemIdentity {
    std::string relative_path;
    ItemIdentity identity;

    static constexpr std::array<std::string_view, 3> columns{"relative_path", "inode", "birth"};

    [[nodiscard]] static RecItemIdentity from_row(const Row& row);
    [[nodiscard]] std::array<Argument, 3> values() const;

    /// True if the table exists.
    [[nodiscard]] static bool any_known();

    [[nodiscard]] static std::optional<RecItemIdentity> fetch(const RecordKey& key);

    /// The rows of these items, and perhaps others.
    [[nodiscard]] static std::vector<RecItemIdentity>
    fetch_like(std::span<const ItemIdentity> identities);

    [[nodiscard]] static std::vector<RecItemIdentity> fetch_all(std::span<const RecordKey> keys);

    /// Stores the rows in place of those with the same keys; those without attributes are left out.
    static void replace_all(const std::vector<RecItemIdentity>& rows);

    static void erase(const RecordKey& key);

    /// Gives the rows of a tree to another place, too, where the attributes are already.
    static void duplicate(const RecordKey& prefix, const RecordKey& replacing_prefix_to);
};

} // namespace orv
