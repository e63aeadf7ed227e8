#include "Operations/transfer/Standing.hpp"

#include "files/Identity.hpp"
#include "files/SameItem.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <cstdint>
#include <string>
#include <tuple>

#include <fcntl.h>
#include <unistd.h>

namespace orv {
namespace {

constexpr std::int64_t ns_per_s = 1'000'000'000;

std::optional<std::string> link_text(int folder, const std::string& name, std::uint64_t size)
{
    std::string text(size + 1, '\0');
    const ssize_t length = ::readlinkat(folder, name.c_str(), text.data(), text.size());
    if (length < 0 || static_cast<std::uint64_t>(length) > size)
        return std::nullopt;
    text.resize(static_cast<std::size_t>(length));
    return text;
}

/// FAT keeps even seconds, others whole seconds, NTFS a tenth of a microsecond.
bool is_same_date(const statx_timestamp& source, const statx_timestamp& copy)
{
    constexpr std::uint32_t ns_of_ntfs = 100;
    if (source.tv_sec == copy.tv_sec) {
        if (source.tv_nsec == copy.tv_nsec || copy.tv_nsec == 0)
            return true;
        return copy.tv_nsec % ns_of_ntfs == 0 &&
               source.tv_nsec / ns_of_ntfs == copy.tv_nsec / ns_of_ntfs;
    }
    const std::int64_t distance =
        (source.tv_sec - copy.tv_sec) * ns_per_s + static_cast<std::int64_t>(source.tv_nsec);
    return copy.tv_nsec == 0 && copy.tv_sec % 2 == 0 && distance > 0 && distance < 2 * ns_per_s;
}

} // namespace

bool TakenName::are_folders() const
{
    return S_ISDIR(source_facts.stx_mode) && S_ISDIR(destination_facts.stx_mode);
}

bool TakenName::are_files() const
{
    return !S_ISDIR(source_facts.stx_mode) && !S_ISDIR(destination_facts.stx_mode);
}

bool TakenName::are_same_item() const
{
    const Identity one = identity_of(source_facts);
    const Identity other = identity_of(destination_facts);
    // FUSE volumes make up an inode number for every spelling of a name.
    return one == other || (is_one_device(one, other) && is_other_spelling(source, destination));
}

bool TakenName::are_equal() const
{
    if ((source_facts.stx_mode & S_IFMT) != (destination_facts.stx_mode & S_IFMT))
        return false;
    if (S_ISLNK(source_facts.stx_mode))
        return are_links_alike;
    return source_facts.stx_size == destination_facts.stx_size &&
           is_same_date(source_facts.stx_mtime, destination_facts.stx_mtime);
}

bool TakenName::is_older() const
{
    const auto stamp = [](const statx_timestamp& time) {
        return std::tuple(time.tv_sec, time.tv_nsec);
    };
    return stamp(destination_facts.stx_mtime) < stamp(source_facts.stx_mtime) &&
           !is_same_date(source_facts.stx_mtime, destination_facts.stx_mtime);
}

std::optional<ItemFacts> facts_in(int folder, const std::string& name, const Url& url)
{
    ItemFacts facts{};
    if (::statx(folder, name.c_str(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, STATX_BASIC_STATS,
                &facts) == 0)
        return facts;
    if (errno == ENOENT)
        return std::nullopt;
    throw platform_error(errno, url);
}

TakenName taken_name(const SourceItem& source, const ItemFacts& source_facts,
                     const DestinationItem& destination, const ItemFacts& destination_facts)
{
    TakenName taken{source.url, source_facts, destination.url(), destination_facts};
    if (S_ISLNK(source_facts.stx_mode) && S_ISLNK(destination_facts.stx_mode))
        taken.are_links_alike =
            link_text(source.folder, source.name, source_facts.stx_size) ==
            link_text(destination.folder.fd, destination.name, destination_facts.stx_size);
    return taken;
}

} // namespace orv
