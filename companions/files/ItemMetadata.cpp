#include "files/ItemMetadata.hpp"

#include "utility/FileDescriptor.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <optional>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/xattr.h>

namespace orv {
namespace {

/// Whether a call failed because the file system lacks what was asked, or keeps it from this user.
bool is_lacking(int code)
{
    return code == ENOTSUP || code == ENOSYS || code == EPERM || code == EACCES || code == EINVAL;
}

void check(int result, const Url& url)
{
    if (result != 0 && !is_lacking(errno))
        throw platform_error(errno, url);
}

/// Security attributes are the system's own: labels belong to the place, and capabilities, like
/// set-user bits, are not to be handed on.
bool is_kept(std::string_view name)
{
    return !name.starts_with("security.");
}

/// The names, each ended by a NUL; empty where there are none.
std::string attribute_names(int fd)
{
    for (;;) {
        const ssize_t size = ::flistxattr(fd, nullptr, 0);
        if (size <= 0)
            return {};
        std::string names(static_cast<std::size_t>(size), '\0');
        const ssize_t length = ::flistxattr(fd, names.data(), names.size());
        if (length < 0 && errno == ERANGE)
            continue; // attributes were added in between
        names.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
        return names;
    }
}

/// No value for one that has vanished or is kept from this user.
std::optional<std::string> attribute_value(int fd, const char* name)
{
    for (;;) {
        const ssize_t size = ::fgetxattr(fd, name, nullptr, 0);
        if (size < 0)
            return std::nullopt;
        std::string value(static_cast<std::size_t>(size), '\0');
        const ssize_t length = ::fgetxattr(fd, name, value.data(), value.size());
        if (length < 0 && errno == ERANGE)
            continue; // the value has grown in between
        if (length < 0)
            return std::nullopt;
        value.resize(static_cast<std::size_t>(length));
        return value;
    }
}

bool has_mode(int fd, mode_t mode)
{
    struct stat status {};
    return ::fstat(fd, &status) == 0 && (status.st_mode & 07777U) == mode;
}

timespec time_of(const statx_timestamp& stamp)
{
    return {stamp.tv_sec, static_cast<long>(stamp.tv_nsec)};
}

} // namespace

ModeAndTimes::ModeAndTimes(const struct stat& status)
    : mode(status.st_mode), access(status.st_atim), modification(status.st_mtim)
{
}

ModeAndTimes::ModeAndTimes(const struct statx& facts)
    : mode(facts.stx_mode), access(time_of(facts.stx_atime)), modification(time_of(facts.stx_mtime))
{
}

void keep_extended_attributes(int from, int to, const Url& to_url)
{
    const std::string names = attribute_names(from);
    for (std::size_t start = 0; start < names.size(); start = names.find('\0', start) + 1) {
        const char* name = names.c_str() + start;
        if (!is_kept(name))
            continue;
        if (const auto value = attribute_value(from, name))
            check(::fsetxattr(to, name, value->data(), value->size(), 0), to_url);
    }
}

void keep_mode(int to, mode_t mode, const Url& to_url)
{
    if (!has_mode(to, kept_mode(mode)))
        check(::fchmod(to, kept_mode(mode)), to_url);
}

void keep_mode_and_times(int to, const ModeAndTimes& kept, const Url& to_url)
{
    keep_mode(to, kept.mode, to_url);
    const timespec times[] = {kept.access, kept.modification};
    check(::futimens(to, times), to_url);
}

void keep_times_of_link(int folder, const std::string& name, const ModeAndTimes& kept,
                        const Url& url)
{
    const timespec times[] = {kept.access, kept.modification};
    check(::utimensat(folder, name.c_str(), times, AT_SYMLINK_NOFOLLOW), url);
}

void keep_mode_of_node(int folder, const std::string& name, mode_t mode)
{
    const FileDescriptor node(::openat(folder, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (node && ::fstat(node.get(), &status) == 0 && (status.st_mode & S_IFMT) == (mode & S_IFMT))
        ::chmod(("/proc/self/fd/" + std::to_string(node.get())).c_str(), kept_mode(mode));
}

} // namespace orv
