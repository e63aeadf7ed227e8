#pragma once

#include <orv/Misc/FileItem.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct statx;

namespace orv {

/// The items of a long listing, in a fraction of their memory: it makes a `FileItem` on demand.
///
/// Threading: one thread at a time, or any number of readers.
class ItemList {
public:
    /// A list for items below the folder `root`, whose location with links resolved is
    /// `resolved_root`.
    explicit ItemList(Url root = {}, Url resolved_root = {});

    [[nodiscard]] std::size_t size() const noexcept { return entries_.size(); }
    [[nodiscard]] bool empty() const noexcept { return entries_.empty(); }

    /// Makes the item at `index`, below `size()`. For a symbolic link this asks the disk for its
    /// target.
    [[nodiscard]] FileItem operator[](std::size_t index) const;

    /// Single facts of the item at `index`, without making it. The name is valid until the list
    /// changes.
    [[nodiscard]] std::string_view name(std::size_t index) const;
    [[nodiscard]] std::string relative_path(std::size_t index) const;
    [[nodiscard]] std::optional<std::int64_t> size_of(std::size_t index) const;
    [[nodiscard]] std::optional<FileItem::Date> modification_date(std::size_t index) const;
    [[nodiscard]] std::uint32_t mode(std::size_t index) const { return entries_[index].mode; }

    /// The stored attributes of the item at `index`; null if there are none.
    [[nodiscard]] const CustomAttributes* attributes(std::size_t index) const;

    /// Sorts the items by the rules of `orv_sort`.
    void sort(SortType sort);

    /// Puts the items into `order`, with each index once.
    void arrange(const std::vector<std::size_t>& order);

    /// Adds the item `name` of the folder at `folder` below the root, with its `facts`, and then
    /// all items of `other`, from the same root. For requests.
    ///
    /// Errors: those of `FileItem`.
    void add(std::string_view folder, int level, std::string_view name, const struct statx& facts);
    void append(const ItemList& other);

    /// Fills in the stored attributes of all items. For requests.
    ///
    /// Threading: waits for the database.
    /// Errors: those of the database.
    void load_attributes();

private:
    /// The items added during a walk's time in a folder.
    struct Folder {
        std::string relative_path;
        int level;
        std::string names; // each ends with a NUL
    };

    struct Entry {
        std::int64_t size;
        std::uint64_t inode;
        FileItem::Date creation_date;
        FileItem::Date modification_date;
        std::uint32_t folder;
        std::uint32_t name;       // where it begins among the folder's names
        std::uint32_t attributes; // their number, counted from 1; 0 if there are none
        std::uint16_t mode;
        bool has_size : 1;
        bool has_creation_date : 1;
        bool has_modification_date : 1;
        bool is_plain_dir : 1;
    };

    Folder& folder_at(std::string_view relative_path, int level);

    Url root_;
    Url resolved_root_;
    std::vector<Folder> folders_;
    std::vector<Entry> entries_;
    std::vector<CustomAttributes> attributes_;
};

} // namespace orv
