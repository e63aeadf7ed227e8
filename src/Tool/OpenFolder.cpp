#include "Tool/OpenFolder.hpp"

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

} // namespace orv
