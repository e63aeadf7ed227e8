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
namespace {

/// Some volumes make an empty file of a node and then say that they failed.
void remove_made_instead(int folder, const std::string& name)
{
    struct stat made {};
    if (::fstatat(folder, name.c_str(), &made, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(made.st_mode) &&
        made.st_size == 0)
        ::unlinkat(folder, name.c_str(), 0);
}

} // namespace

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
    keep_times_of_link(folder, destination.name, status.st_atim, status.st_mtim, destination.url());
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
    const mode_t mode = status.st_mode & (S_IFMT | 0777U);
    if (::mknodat(folder, destination.name.c_str(), mode, 0) != 0) {
        const int code = errno;
        if (code != EEXIST)
            remove_made_instead(folder, destination.name);
        throw platform_error(code, destination.url());
    }
    keep_mode_of_node(folder, destination.name, status.st_mode);
    keep_times_of_link(folder, destination.name, status.st_atim, status.st_mtim, destination.url());
    return status;
}

} // namespace orv
