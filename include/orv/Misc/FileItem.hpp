#pragma once

#include <orv/CustomAttributes/CustomAttributes.hpp>
#include <orv/Misc/PackageExtensions.hpp>
#include <orv/utility/Url.hpp>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orv {

/// The direction of a sorted list.
enum class SortOrder { asc, desc };

[[nodiscard]] constexpr SortOrder toggled(SortOrder order)
{
    return order == SortOrder::asc ? SortOrder::desc : SortOrder::asc;
}

/// The key and direction of a sorted list.
class SortType {
public:
    enum class Key {
        name,
        size,
        modification_date,
        extension,
        folders_first,
        custom_order,
        natural_name
    };

    static constexpr SortType by_name(SortOrder order) { return {Key::name, order}; }
    static constexpr SortType by_size(SortOrder order) { return {Key::size, order}; }
    static constexpr SortType by_modification_date(SortOrder order)
    {
        return {Key::modification_date, order};
    }
    static constexpr SortType by_extension(SortOrder order) { return {Key::extension, order}; }
    static constexpr SortType by_folders_first() { return {Key::folders_first, SortOrder::asc}; }
    static constexpr SortType by_custom_order() { return {Key::custom_order, SortOrder::asc}; }

    /// By name, with the numbers in names compared as numbers: "part 2" comes before "part 10".
    static constexpr SortType by_natural_name(SortOrder order)
    {
        return {Key::natural_name, order};
    }

    /// The same with all folders before all other items, in either order.
    [[nodiscard]] constexpr SortType with_folders_first() const
    {
        SortType sort = *this;
        sort.puts_folders_first_ = true;
        return sort;
    }

    [[nodiscard]] constexpr Key key() const { return key_; }

    /// True if all folders come before all other items.
    [[nodiscard]] constexpr bool puts_folders_first() const { return puts_folders_first_; }

    /// The direction; ascending for the two types without one.
    [[nodiscard]] constexpr SortOrder order() const { return order_; }

    /// The same type in the other direction. The two types without a direction stay as they are.
    [[nodiscard]] constexpr SortType toggled() const
    {
        SortType sort = *this;
        if (key_ != Key::folders_first && key_ != Key::custom_order)
            sort.order_ = orv::toggled(order_);
        return sort;
    }

    bool operator==(const SortType&) const = default;

private:
    constexpr SortType(Key key, SortOrder order)
        : key_(key), order_(order), puts_folders_first_(key == Key::folders_first)
    {
    }

    Key key_;
    SortOrder order_;
    bool puts_folders_first_;
};

/// A file or folder as a listing shows it. A symbolic link is an item of its own, neither a folder
/// nor sized.
struct FileItem {
    using Date = std::chrono::sys_time<std::chrono::nanoseconds>;
    using SortOrder = orv::SortOrder;
    using SortType = orv::SortType;

    Url url;
    bool is_dir = false;
    /// Depth below the walked folder: 1 for its direct children, 0 outside a walk.
    int level = 0;
    /// Path relative to the walked folder; empty outside a walk.
    std::string relative_path;
    /// Bytes; only regular files have one.
    std::optional<std::int64_t> size;
    /// The name with its extension, without it, and the extension without its dot.
    std::string name;
    std::string title;
    std::string ext;
    std::optional<Date> creation_date;
    std::optional<Date> modification_date;
    /// The number of the item on its volume; 0 if unknown.
    std::uint64_t inode = 0;
    /// Kind and permissions of the item, as in `stat`; 0 if unknown.
    std::uint32_t mode = 0;
    /// A folder shown as one file, such as a bundle.
    bool is_package = false;
    /// Its name begins with a dot.
    bool is_hidden = false;
    CustomAttributes custom_attributes;

    FileItem() = default;

    /// Describes the item at `url`, its `relative_path` taken from `base_url`. Its custom
    /// attributes are the default ones.
    ///
    /// Errors: the platform's, if the item cannot be described; "Couldn't create relative path for
    /// url: \n…" if it does not lie under `base_url`.
    explicit FileItem(const Url& url, const std::optional<Url>& base_url = {});

    /// A folder not shown as one file.
    [[nodiscard]] bool is_plain_dir() const { return is_dir && !is_package; }
};

/// Fills in the stored attributes of all `items`. On an error they stay as they are.
///
/// Threading: any, meant for background threads; waits for the database.
/// Errors: those of the database.
void load_all_custom_attrs(std::vector<FileItem>& items);

/// Stores the attributes of all `items`, or of none; see `save_all`.
///
/// Threading: any, meant for background threads; waits for the database.
/// Errors: those of the database.
void sync_save_all_custom_attrs(const std::vector<FileItem>& items, bool auto_update_order_numbers);

/// Sorts `items`. Names and extensions compare without regard to case, and equal items keep their
/// order. An item without a size counts as empty. Undated items come first, in descending order
/// last. Items with one extension sort by name. Items whose extensions differ in case alone keep
/// the places they hold among themselves. In natural order, digits of any script count. Of equal
/// numbers the one with fewer leading zeros comes first, unless the names differ elsewhere. A
/// package counts as a file.
///
/// Threading: any.
void orv_sort(std::vector<FileItem>& items, SortType sort);

} // namespace orv
