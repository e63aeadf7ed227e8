#pragma once

#include "CustomAttributes/RecordKey.hpp"
#include "database/Value.hpp"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace orv {

/// An item and everything below it, as ranges of keys. The table's index answers them at once.
///
/// Keys compare by their bytes, and "0" is the byte after "/": the keys below "a" run from "a/" up
/// to "a0". The home folder's key is empty; the keys below it are all without a leading "/".
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

    /// True for keys directly inside the folder; takes the arguments `direct()`.
    static constexpr std::string_view is_direct =
        "(relative_path <> ? AND instr(substr(CAST(relative_path AS BLOB), ?), x'2F') = 0)";
    [[nodiscard]] std::array<Argument, 2> direct() const;

private:
    /// Start of the part of a key after the folder's, counted from 1.
    [[nodiscard]] std::int64_t below_start() const;

    std::string item_;
    std::string below_; // prefix of every key below the item
    std::string first_begin_, first_end_, second_begin_, second_end_;
};

} // namespace orv
