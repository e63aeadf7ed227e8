#include "files/Flush.hpp"

#include "files/OpenFolder.hpp"
#include "files/Place.hpp"

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
constexpr std::array<long, 6> reporting_volumes{EXT4_SUPER_MAGIC, xfs_magic,   BTRFS_SUPER_MAGIC,
                                                F2FS_SUPER_MAGIC, TMPFS_MAGIC, MSDOS_SUPER_MAGIC};

} // namespace

void flush(int item, const Url& url)
{
    while (::fsync(item) != 0) {
        // The item or its volume knows no flush: pipes answer EINVAL, FUSE ENOSYS, some network
        // volumes ENOTSUP. EROFS is a failure, since a volume turns read-only after one.
        if (errno == EINVAL || errno == ENOSYS || errno == ENOTSUP)
            return;
        if (errno != EINTR)
            throw platform_error(errno, url);
    }
}

void flush_folder_of(const Url& url)
{
    const Url folder_url = url.deleting_last_path_component();
    const Place place = Place::of(folder_url);
    const OpenFolder folder = open_folder_following_links(place.folder(), place.name());
    if (folder.error == EACCES || folder.error == ENOENT)
        return;
    if (folder.error != 0)
        throw platform_error(folder.error, folder_url);
    flush(folder.descriptor.get(), folder_url);
}

bool reports_faults(int item)
{
    struct statfs volume {};
    return ::fstatfs(item, &volume) == 0 &&
           std::ranges::find(reporting_volumes, static_cast<long>(volume.f_type)) !=
               reporting_volumes.end();
}

bool can_flush_volume(int folder)
{
    struct statx facts {};
    // Kernels report failures in syncfs since the version that reports mounts.
    return ::statx(folder, "", AT_EMPTY_PATH, STATX_BASIC_STATS, &facts) == 0 &&
           (facts.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT) != 0 && reports_faults(folder);
}

void flush_volume(int folder, const Url& url)
{
    if (::syncfs(folder) != 0)
        throw platform_error(errno, url);
}

} // namespace orv
