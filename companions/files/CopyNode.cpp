#include "files/CopyNode.hpp"

#include "files/Flush.hpp"
#include "files/ItemMetadata.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/utility/Error.hpp>

#include <array>
#include <cerrno>
#include <climits>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

namespace orv {
namespace {

/// Some volumes make an empty file of a node and then report a failure.
void remove_made_instead(int folder, const std::string& name)
{
    struct stat made {};
    if (::fstatat(folder, name.c_str(), &made, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(made.st_mode) &&
        made.st_size == 0)
        ::unlinkat(folder, name.c_str(), 0);
}

/// True if the volume of the open folder has no such items. FUSE and network volumes report it with
/// errors of all kinds, FAT with one that means a refusal elsewhere.
bool cannot_hold(int code, int folder)
{
    if (code == ENOSYS || code == EOPNOTSUPP)
        return true;
    const bool is_unlike_disks =
        !reports_faults(folder) || ::fpathconf(folder, _PC_2_SYMLINKS) == 0;
    return is_unlike_disks && (code == EPERM || code == EIO || code == EINVAL);
}

Error not_held(int code, int folder, std::string_view sentence, const Url& url)
{
    return cannot_hold(code, folder)
               ? Error(std::string(sentence)).known_as(Cause::unsupported).at(url)
               : platform_error(code, url);
}

} // namespace

Error link_error(int code, int folder, const Url& url)
{
    return not_held(code, folder, "This volume cannot hold symbolic links.", url);
}

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
        throw link_error(errno, folder, destination.url());
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
        throw not_held(code, folder, "This volume cannot hold named pipes and sockets.",
                       destination.url());
    }
    keep_mode_of_item(folder, destination.name, status.st_mode);
    keep_times_of_link(folder, destination.name, status.st_atim, status.st_mtim, destination.url());
    return status;
}

} // namespace orv
