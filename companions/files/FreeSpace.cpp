#include "files/FreeSpace.hpp"

#include "files/ItemStatus.hpp"
#include "files/Place.hpp"
#include "files/TreeWalk.hpp"

#include <orv/utility/Error.hpp>

#include <limits>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>

namespace orv {

std::optional<std::int64_t> free_bytes(const Url& folder)
try {
    const Place place = Place::of(folder);
    const FileDescriptor opened(
        ::openat(place.folder(), place.name(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    struct statvfs volume {};
    // Volumes without a size of their own, such as /proc, state none.
    if (!opened || ::fstatvfs(opened.get(), &volume) != 0 || volume.f_blocks == 0)
        return std::nullopt;
    const auto blocks = static_cast<double>(volume.f_bavail);
    const double bytes = blocks * static_cast<double>(volume.f_frsize);
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    return bytes < static_cast<double>(most) ? static_cast<std::int64_t>(bytes) : most;
} catch (const Error&) {
    return std::nullopt;
}

std::int64_t allocated_bytes(const Url& item, bool frees_alone, FunctionRef<void()> poll)
{
    constexpr std::int64_t bytes_a_block = 512; // the unit of stx_blocks
    const auto status = item_status(item, AT_SYMLINK_NOFOLLOW);
    if (!status)
        return 0;
    const auto bytes_of = [&](std::uint64_t blocks, std::uint64_t links, bool is_folder) {
        return frees_alone && links > 1 && !is_folder
                   ? 0
                   : static_cast<std::int64_t>(blocks) * bytes_a_block;
    };
    std::int64_t bytes = bytes_of(static_cast<std::uint64_t>(status->st_blocks), status->st_nlink,
                                  S_ISDIR(status->st_mode));
    if (!S_ISDIR(status->st_mode))
        return bytes;
    TreeWalk walk(item);
    for (auto event = walk.next(); event != TreeWalk::Event::end; event = walk.next()) {
        if (event != TreeWalk::Event::item)
            continue;
        poll();
        bytes += bytes_of(walk.facts().stx_blocks, walk.facts().stx_nlink, walk.is_folder());
    }
    return bytes;
}

bool shares_blocks(const Url& folder)
try {
    constexpr long xfs_type = 0x58465342; // in no header of the system
    const Place place = Place::of(folder);
    const FileDescriptor opened(
        ::openat(place.folder(), place.name(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    struct statfs volume {};
    return opened && ::fstatfs(opened.get(), &volume) == 0 &&
           (volume.f_type == BTRFS_SUPER_MAGIC || volume.f_type == xfs_type);
} catch (const Error&) {
    return false;
}

} // namespace orv
