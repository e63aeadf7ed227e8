#include "files/CopyNode.hpp"

#include "files/ItemMetadata.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/utility/Error.hpp>

#include <array>
#include <cerrno>
#include <climits>

#include <fcntl.h>
#include <unistd.h>

namespace orv {

struct stat copy_link(const SourceItem& source, const DestinationItem& destination)
{
    const FileDescriptor link(
        ::openat(source.folder, source.name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (!link || ::fstat(link.get(), &status) != 0)
        throw platform_error(errno, source.url);
    if (!S_ISLNK(status.st_mode))
        throw platform_error(ESTALE, source.url);
    std::array<char, PATH_MAX> text{};
    if (::readlinkat(link.get(), "", text.data(), text.size() - 1) < 0)
        throw platform_error(errno, source.url);
    const int folder = destination.folder.fd;
    if (::symlinkat(text.data(), folder, destination.name.c_str()) != 0)
        throw platform_error(errno, destination.url());
    keep_times_of_link(folder, destination.name, ModeAndTimes(status), destination.url());
    return status;
}

struct stat copy_node(const SourceItem& source, const DestinationItem& destination)
{
    struct stat status {};
    if (::fstatat(source.folder, source.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        throw platform_error(errno, source.url);
    if (!S_ISFIFO(status.st_mode) && !S_ISSOCK(status.st_mode))
        throw platform_error(ESTALE, source.url);
    const int folder = destination.folder.fd;
    if (::mknodat(folder, destination.name.c_str(), status.st_mode & (S_IFMT | 0777U), 0) != 0)
        throw platform_error(errno, destination.url());
    keep_mode_of_node(folder, destination.name, status.st_mode);
    keep_times_of_link(folder, destination.name, ModeAndTimes(status), destination.url());
    return status;
}

} // namespace orv
