#pragma once

#include <orv/utility/Url.hpp>

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include <sys/stat.h>

namespace orv::test {

/// All that can be told of one item.
struct ItemState {
    mode_t type = 0;        ///< S_IFREG, S_IFDIR, …
    mode_t permissions = 0; ///< of links always 0
    std::string content;    ///< of a file its bytes, of a link its text
    std::map<std::string, std::string> extended_attributes;
    /// Of the modification, in nanoseconds. None where it cannot be foretold.
    std::optional<std::int64_t> time;
    bool has_holes = false;

    /// Whether both hold the same, whatever their permissions, attributes and times.
    [[nodiscard]] bool same_content(const ItemState& other) const;
    /// Whether both are alike in all; a time that cannot be foretold is like any other.
    [[nodiscard]] bool alike(const ItemState& other) const;
};

/// The items below a folder by their relative path, sorted. Nothing is followed or changed.
using Snapshot = std::map<std::string, ItemState>;

[[nodiscard]] Snapshot snapshot_of(const Url& root);

/// The item as a failed test shows it.
[[nodiscard]] std::string described(const ItemState& item);

} // namespace orv::test
