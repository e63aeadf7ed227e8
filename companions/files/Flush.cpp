#include "files/Flush.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <array>
#include <cerrno>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <unistd.h>

namespace orv {
namespace {

constexpr long xfs_magic = 0x58465342; // in no header of the system
constexpr std::array<long, 6> told_by_volume{EXT4_SUPER_MAGIC, xfs_magic,   BTRFS_SUPER_MAGIC,
                                             F2FS_SUPER_MAGIC, TMPFS_MAGIC, MSDOS_SUPER_MAGIC};

} // namespace

void flush(int item, const Url& url)
{
    while (::fsync(item) != 0) {
        if (errno == EINVAL) // there is nothing that could be flushed
            return;
        if (errno != EINTR)
            throw platform_error(errno, url);
    }
}

bool can_flush_volume(int folder)
{
    struct statfs volume {};
    struct statx facts {};
    if (::fstatfs(folder, &volume) != 0 ||
        ::statx(folder, "", AT_EMPTY_PATH, STATX_BASIC_STATS, &facts) != 0)
        return false;
    // The kernel that began to tell of mounts is the one in which syncfs began to tell of failures.
    return (facts.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT) != 0 &&
           std::ranges::find(told_by_volume, static_cast<long>(volume.f_type)) !=
               told_by_volume.end();
}

void flush_volume(int folder, const Url& url)
{
    if (::syncfs(folder) != 0)
        throw platform_error(errno, url);
}

} // namespace orv
