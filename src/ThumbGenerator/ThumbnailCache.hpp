#pragma once

#include "picture/ThumbnailSize.hpp"

#include <orv/ThumbGenerator/OrvThumbnail.hpp>

#include <cstddef>
#include <cstdint>
#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

namespace orv {

/// The state of a file at some moment. Any change of its content gives another version.
struct FileVersion {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t size = 0;
    std::int64_t modified_ns = 0;
    std::int64_t changed_ns = 0;
    friend bool operator==(const FileVersion&, const FileVersion&) = default;
};

/// The version of the file at `url`, links followed; none if it is unknown.
[[nodiscard]] std::optional<FileVersion> version_of(const Url& url);

/// All facts a thumbnail depends on.
struct ThumbnailKey {
    Url url;
    FileVersion version;
    SizeWanted wanted;
    double quality = 1;
    OrvThumbnail::Generator generator; ///< kept alive to keep its address unique
    friend bool operator==(const ThumbnailKey&, const ThumbnailKey&) = default;
};

/// The latest thumbnails, as many as fit into a limit of memory; the least recently used go first.
///
/// Threading: any.
class ThumbnailCache {
public:
    /// Units: bytes.
    explicit ThumbnailCache(std::size_t limit) : limit_(limit) {}

    [[nodiscard]] std::optional<Picture> find(const ThumbnailKey& key);

    void insert(ThumbnailKey key, Picture thumb);

    /// Units: bytes.
    void set_limit(std::size_t bytes);

private:
    struct Entry {
        ThumbnailKey key;
        Picture thumb;
        std::size_t bytes = 0;
    };
    using Entries = std::list<Entry>;
    /// The key of an entry; the list keeps it in place.
    struct KeyInPlace {
        const ThumbnailKey* key;
        friend bool operator==(KeyInPlace a, KeyInPlace b) { return *a.key == *b.key; }
    };
    struct Hash {
        std::size_t operator()(KeyInPlace in_place) const noexcept;
    };

    void take_out(Entries::iterator entry, Entries& gone);
    void shrink(Entries& gone);

    std::mutex mutex_;
    std::size_t limit_;
    std::size_t bytes_ = 0;
    Entries entries_; ///< the one asked for last is first
    std::unordered_map<KeyInPlace, Entries::iterator, Hash> found_by_;
};

} // namespace orv
