#pragma once

#include <orv/Misc/FileItem.hpp>

#include <string>

namespace orv {

/// The place of one item in a sorted list whose items come and go. The order of the keys is that of
/// `orv_sort`, made total: equal items go by name, and a list has one order however it came about.
/// Extensions with different case only count as one.
struct OrderKey {
    bool is_behind_folders = false;
    std::string rank; ///< compared as bytes, in the order asked for
    std::string name; ///< folded, compared as bytes
    std::string exact_name;

    [[nodiscard]] static OrderKey of(const FileItem& item, SortType sort);
};

/// True if the item of `one` comes before that of `other`; both keys are of one `sort`.
[[nodiscard]] bool comes_before(const OrderKey& one, const OrderKey& other, SortType sort);

} // namespace orv
