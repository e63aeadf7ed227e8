#include "ThumbGenerator/ThumbnailCache.hpp"

#include "files/ItemStatus.hpp"
#include "files/Place.hpp"

#include <orv/utility/Error.hpp>

#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

namespace orv {

std::optional<FileVersion> version_of(const Url& url)
try {
    const Place place = Place::of(url);
    struct statx facts {};
    constexpr unsigned wanted = STATX_INO | STATX_SIZE | STATX_MTIME | STATX_CTIME;
    if (::statx(place.folder(), place.name(), 0, wanted, &facts) != 0)
        return std::nullopt;
    return FileVersion{.device = std::uint64_t{facts.stx_dev_major} << 32 | facts.stx_dev_minor,
                       .inode = facts.stx_ino,
                       .size = facts.stx_size,
                       .modified_ns = nanoseconds(facts.stx_mtime),
                       .changed_ns = nanoseconds(facts.stx_ctime)};
} catch (const Error&) {
    return std::nullopt;
}

std::size_t ThumbnailCache::Hash::operator()(KeyInPlace in_place) const noexcept
{
    const ThumbnailKey& key = *in_place.key;
    std::size_t hash = std::hash<Url>{}(key.url);
    const auto mix = [&hash](std::uint64_t value) {
        hash = (hash ^ value) * 0x9E37'79B9'7F4A'7C15U;
        hash ^= hash >> 32;
    };
    mix(static_cast<std::uint64_t>(key.version.modified_ns));
    mix(std::uint64_t{key.wanted.width.value_or(0)} << 32 | key.wanted.height.value_or(0));
    return hash;
}

std::optional<Picture> ThumbnailCache::find(const ThumbnailKey& key)
{
    const std::lock_guard lock(mutex_);
    const auto found = found_by_.find(KeyInPlace{&key});
    if (found == found_by_.end())
        return std::nullopt;
    entries_.splice(entries_.begin(), entries_, found->second);
    return found->second->thumb;
}

void ThumbnailCache::insert(ThumbnailKey key, Picture thumb)
{
    const std::size_t bytes = sizeof(Entry) + key.url.path().size() + thumb.rgba().size();
    Entries added;
    added.push_back({std::move(key), std::move(thumb), bytes});
    // Evicted entries are destroyed without the lock: one may hold the last of an application's
    // generator.
    Entries gone;
    const std::lock_guard lock(mutex_);
    if (bytes > limit_ / 8)
        return;
    if (const auto old = found_by_.find(KeyInPlace{&added.front().key}); old != found_by_.end())
        take_out(old->second, gone);
    found_by_.emplace(KeyInPlace{&added.front().key}, added.begin());
    entries_.splice(entries_.begin(), added);
    bytes_ += bytes;
    shrink(gone);
}

void ThumbnailCache::set_limit(std::size_t bytes)
{
    Entries gone;
    const std::lock_guard lock(mutex_);
    limit_ = bytes;
    shrink(gone);
}

void ThumbnailCache::take_out(Entries::iterator entry, Entries& gone)
{
    found_by_.erase(KeyInPlace{&entry->key});
    bytes_ -= entry->bytes;
    gone.splice(gone.begin(), entries_, entry);
}

void ThumbnailCache::shrink(Entries& gone)
{
    while (bytes_ > limit_)
        take_out(std::prev(entries_.end()), gone);
}

} // namespace orv
