#pragma once

#include <orv/Misc/FileItem.hpp>
#include <orv/utility/FunctionRef.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace orv {

/// The sort key of an item.
struct SortFacts {
    std::string_view name; ///< this and the extension are valid as long as the items
    std::string_view ext;
    std::int64_t size;
    std::optional<FileItem::Date> modification_date;
    std::optional<std::int64_t> order_no;
    bool is_plain_dir;
};

/// Returns the order of `count` items by the rules of `orv_sort`, as their indices.
[[nodiscard]] std::vector<std::size_t>
sorted_order(std::size_t count, FunctionRef<SortFacts(std::size_t)> facts_of, SortType sort);

} // namespace orv
