#include "files/MountedVolume.hpp"

#include <cstdint>
#include <cstring>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/sysmacros.h>

namespace orv {
namespace {

std::uint64_t number_of(const fsid_t& id)
{
    std::uint64_t number = 0;
    static_assert(sizeof(id) == sizeof(number));
    std::memcpy(&number, &id, sizeof(number));
    return number;
}

/// True if the volume has an identity of its own. Others state nothing, as FUSE does, or a device
/// number, as FAT and XFS do; a disk gets a new one at each connection.
bool has_own_identity(std::uint64_t id, dev_t device)
{
    const std::uint64_t device_number =
        (minor(device) & 0xffU) | (major(device) << 8U) | ((minor(device) & ~0xffU) << 12U);
    return id != 0 && id != device_number;
}

/// The size of the volume stands in for a missing identity.
std::optional<std::string> identity_of_volume(const char* path, int folder)
{
    struct statfs volume {};
    struct stat facts {};
    const bool is_known = path ? ::statfs(path, &volume) == 0 && ::stat(path, &facts) == 0
                               : ::fstatfs(folder, &volume) == 0 && ::fstat(folder, &facts) == 0;
    if (!is_known)
        return std::nullopt;
    const std::uint64_t id = number_of(volume.f_fsid);
    return std::to_string(volume.f_type) + (has_own_identity(id, facts.st_dev)
                                                ? " id " + std::to_string(id)
                                                : " size " + std::to_string(volume.f_blocks) + "*" +
                                                      std::to_string(volume.f_bsize));
}

} // namespace

bool is_mount_point(const Url& url)
{
    struct statx facts {};
    return ::statx(AT_FDCWD, url.path().c_str(), 0, STATX_TYPE, &facts) == 0 &&
           (facts.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
}

MountedVolume MountedVolume::of(int folder, const Url& url)
{
    const auto identity = identity_of_volume(nullptr, folder);
    Url at = url.resolving_symlinks();
    while (!is_mount_point(at)) {
        if (at.path() == "/")
            return {}; // an old kernel does not tell
        at = at.deleting_last_path_component();
    }
    return identity ? MountedVolume{at.path(), *identity} : MountedVolume{};
}

bool MountedVolume::is_mounted() const
{
    return mount_point.empty() ||
           (is_mount_point(mount_point) && identity_of_volume(mount_point.c_str(), -1) == identity);
}

} // namespace orv
