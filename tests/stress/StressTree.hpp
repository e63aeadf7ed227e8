#pragma once

#include <orv/utility/Url.hpp>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::test {

/// The first letter of a name says what requests may do with the item.
namespace letter {
inline constexpr char shelf = 's';      ///< a folder that stays and holds the others
inline constexpr char original = 'o';   ///< a file that may go anywhere, but never be lost
inline constexpr char expendable = 'e'; ///< the same, but may be deleted and replaced
inline constexpr char box = 'b';        ///< a folder that may go anywhere, with originals in it
inline constexpr char parcel = 'x';     ///< a folder that may be deleted
inline constexpr char fixed = 'f';      ///< a file in a box or parcel that is never named itself
inline constexpr char copy = 'c';
inline constexpr char generated = 'g';
inline constexpr char replaced = 'v'; ///< what copies, files and reservations take the place of
} // namespace letter

/// The bytes of the file that is known by `identity`: no part of it is like one of another file.
[[nodiscard]] std::string content_of(std::int64_t identity);

/// Every third item has no attribute row; the others have its identity for an order number.
[[nodiscard]] bool has_row(std::int64_t identity);

/// What stands where in a stress test, and the rows.
struct StressState {
    struct Item {
        bool is_folder = false;
        /// Of a whole file what it was made from, of a box or a parcel its own; none of others.
        std::optional<std::int64_t> identity;
    };

    std::map<std::string, Item> items;        ///< by the path below the root
    std::map<std::string, std::int64_t> rows; ///< the order numbers, likewise
};

/// Shelves below `root` with items of every kind, and their rows; and "bystander", with names that
/// begin like those of shelves and boxes.
void make_stress_tree(const Url& root);

[[nodiscard]] StressState stress_state_of(const Url& root);

/// Whether the item is a copy or lies in one.
[[nodiscard]] bool is_in_copy(std::string_view path);

inline constexpr int shelves = 4;
inline constexpr int parcel_size = 3; ///< files in a parcel
inline constexpr int box_size = 2;    ///< fixed files in a box

} // namespace orv::test
