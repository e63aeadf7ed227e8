#include "files/OpenFolder.hpp"

#include <cerrno>

#include <fcntl.h>

namespace orv {
namespace {

OpenFolder opened(int folder, const char* name, int more_flags)
{
    OpenFolder result;
    result.descriptor = FileDescriptor(
        ::openat(folder, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK | more_flags));
    if (!result.descriptor) {
        result.error = errno;
    } else if (::statx(result.descriptor.get(), "", AT_EMPTY_PATH, STATX_BASIC_STATS | STATX_BTIME,
                       &result.facts) != 0) {
        result.error = errno;
        result.descriptor.reset();
    }
    return result;
}

} // namespace

OpenFolder open_folder(int folder, const char* name)
{
    return opened(folder, name, O_NOFOLLOW);
}

OpenFolder open_folder_following_links(int folder, const char* name)
{
    return opened(folder, name, 0);
}

bool is_mounted(const struct statx& facts, const Identity& above)
{
    if ((facts.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT) != 0)
        return (facts.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
    return facts.stx_dev_major != above.device_major || facts.stx_dev_minor != above.device_minor;
}

} // namespace orv
