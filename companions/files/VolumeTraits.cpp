#include "files/VolumeTraits.hpp"

#include "utility/FileDescriptor.hpp"

#include <algorithm>
#include <array>
#include <limits>
#include <string>

#include <fcntl.h>
#include <linux/fs.h>
#include <linux/magic.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace orv {
namespace {

// Those in no header of the system.
constexpr long exfat_magic = 0x2011bab0;
constexpr long ntfs_magic = 0x7366746e;

constexpr std::array<long, 3> windows_volumes{MSDOS_SUPER_MAGIC, exfat_magic, ntfs_magic};
constexpr std::array<long, 7> network_volumes{NFS_SUPER_MAGIC, CIFS_SUPER_MAGIC, SMB2_SUPER_MAGIC,
                                              SMB_SUPER_MAGIC, CEPH_SUPER_MAGIC, AFS_SUPER_MAGIC,
                                              FUSE_SUPER_MAGIC};

bool is_one_of(long type, const auto& list)
{
    return std::ranges::find(list, type) != list.end();
}

/// True if the kernel says "1" in the file of its description of devices.
bool says_yes(const std::string& path)
{
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    char answer = '0';
    return file && ::read(file.get(), &answer, 1) == 1 && answer == '1';
}

/// A partition has its description below its disk, and the disk knows if it is removable.
bool is_removable(dev_t device)
{
    const std::string disk =
        "/sys/dev/block/" + std::to_string(major(device)) + ":" + std::to_string(minor(device));
    return says_yes(disk + "/removable") || says_yes(disk + "/../removable");
}

bool folds_case(int folder)
{
    int flags = 0;
    return ::ioctl(folder, FS_IOC_GETFLAGS, &flags) == 0 && (flags & FS_CASEFOLD_FL) != 0;
}

} // namespace

VolumeTraits VolumeTraits::of(int folder)
{
    constexpr std::int64_t largest_on_fat = 0xffffffff;
    VolumeTraits traits{.max_file_size = std::numeric_limits<std::int64_t>::max(),
                        .max_name_bytes = std::numeric_limits<std::size_t>::max()};
    struct statfs volume {};
    struct stat facts {};
    if (::fstatfs(folder, &volume) != 0 || ::fstat(folder, &facts) != 0)
        return traits;
    const auto type = static_cast<long>(volume.f_type);
    const bool is_windows = is_one_of(type, windows_volumes);
    if (type == MSDOS_SUPER_MAGIC)
        traits.max_file_size = largest_on_fat;
    if (volume.f_namelen > 0)
        traits.max_name_bytes = static_cast<std::size_t>(volume.f_namelen);
    traits.ignores_case = is_windows || folds_case(folder);
    traits.refuses_reserved_characters = is_windows;
    traits.may_go_away = is_one_of(type, network_volumes) || is_removable(facts.st_dev);
    return traits;
}

bool VolumeTraits::takes_name(std::string_view name) const
{
    if (name.size() > max_name_bytes)
        return false;
    if (!refuses_reserved_characters)
        return true;
    const bool has_reserved = std::ranges::any_of(name, [](char c) {
        return static_cast<unsigned char>(c) < ' ' ||
               std::string_view("\"*:<>?\\|").find(c) != std::string_view::npos;
    });
    return !has_reserved && !name.ends_with(' ') && !name.ends_with('.');
}

} // namespace orv
