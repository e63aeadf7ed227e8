#pragma once

#include <cstdint>

#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace orv {

/// The state of an item at some moment. Any change of its content or its attributes, and another
/// item in its place, give another version.
struct ItemVersion {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t mode = 0;
    std::uint64_t links = 0;
    std::int64_t size = 0;
    std::int64_t modified_s = 0;
    std::int64_t modified_ns = 0;
    std::int64_t changed_s = 0;
    std::int64_t changed_ns = 0;

    ItemVersion() = default;
    explicit ItemVersion(const struct stat& status)
        : device(status.st_dev), inode(status.st_ino), mode(status.st_mode), links(status.st_nlink),
          size(status.st_size), modified_s(status.st_mtim.tv_sec),
          modified_ns(status.st_mtim.tv_nsec), changed_s(status.st_ctim.tv_sec),
          changed_ns(status.st_ctim.tv_nsec)
    {
    }

    explicit ItemVersion(const struct statx& facts)
        : device(makedev(facts.stx_dev_major, facts.stx_dev_minor)), inode(facts.stx_ino),
          mode(facts.stx_mode), links(facts.stx_nlink),
          size(static_cast<std::int64_t>(facts.stx_size)), modified_s(facts.stx_mtime.tv_sec),
          modified_ns(facts.stx_mtime.tv_nsec), changed_s(facts.stx_ctime.tv_sec),
          changed_ns(facts.stx_ctime.tv_nsec)
    {
    }

    bool operator==(const ItemVersion&) const = default;

    [[nodiscard]] bool is_same_item(const ItemVersion& other) const
    {
        return device == other.device && inode == other.inode;
    }

    /// The same, but for its dates.
    [[nodiscard]] bool is_same_but_for_dates(ItemVersion later) const
    {
        later.modified_s = modified_s;
        later.modified_ns = modified_ns;
        later.changed_s = changed_s;
        later.changed_ns = changed_ns;
        return *this == later;
    }

    /// The same, except for other links to the file lost since then, which count as a change of its
    /// attributes.
    [[nodiscard]] bool is_same_with_fewer_links(ItemVersion later) const
    {
        if (later.links < links) {
            later.links = links;
            later.changed_s = changed_s;
            later.changed_ns = changed_ns;
        }
        return *this == later;
    }
};

} // namespace orv
