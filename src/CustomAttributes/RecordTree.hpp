#pragma once

#include "CustomAttributes/RecordKey.hpp"
#include "database/Value.hpp"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace orv {

/// An item and everything below it, as ranges of keys, which the table's index answers at once.
///
/// Keys are compared by their bytes, and "0" is the byte after "/": so what is below "a" are the
/// keys from "a/" up to "a0", and what is below the home folder, whose key is empty, are those that
/// do not begin with "/".
class RecordTree {
public:
    explicit RecordTree(const RecordKey& key);

    /// Holds for the records of the tree; takes the arguments `ranges()`.
    static constexpr std::string_view condition = "((relative_path >= ? AND relative_path < ?)"
                                                  " OR (relative_path >= ? AND relative_path < ?))";
    [[nodiscard]] std::array<Argument, 4> ranges() const;

    /// The key at the same place in another tree; takes the arguments `replacement(other)`.
    static constexpr std::string_view replaced_key =
        "(CASE WHEN custom_attributes.relative_path = ? THEN ?"
        " ELSE ? || substr(CAST(custom_attributes.relative_path AS BLOB), ?) END)";
    [[nodiscard]] std::array<Argument, 4> replacement(const RecordTree& other) const;

    /// Holds for the keys of the tree that are directly inside its folder; takes the arguments
    /// `direct()`.
    static constexpr std::string_view is_direct =
        "(relative_path <> ? AND instr(substr(CAST(relative_path AS BLOB), ?), x'2F') = 0)";
    [[nodiscard]] std::array<Argument, 2> direct() const;

private:
    /// Where the part of a key begins that follows the folder's, counted from 1.
    [[nodiscard]] std::int64_t below_start() const;

    std::string item_;
    std::string below_; // what every key below the item begins with
    std::string first_begin_, first_end_, second_begin_, second_end_;
};

} // namespace orv
