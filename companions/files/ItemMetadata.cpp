#include "files/ItemMetadata.hpp"

#include "files/Flush.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <cstring>
#include <optional>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/xattr.h>

namespace orv {
namespace {

/// True if a call failed because the volume lacks the feature or keeps it from this user.
bool is_lacking(int code)
{
    return code == ENOTSUP || code == ENOSYS || code == EPERM || code == EACCES || code == EINVAL;
}

/// True if an attribute does not fit the volume's room for attributes. ext4 has one block for all
/// of an item's and answers ENOSPC beyond it; for a small set of attributes the same code means a
/// full disk.
bool is_too_large(int code, std::size_t bytes_so_far)
{
    constexpr std::size_t always_fits = 2048;
    return code == E2BIG || code == ERANGE || (code == ENOSPC && bytes_so_far > always_fits);
}

/// FUSE and network volumes answer with errors of all kinds, EIO among them, where they cannot keep
/// a mode, a time or an attribute. There the content counts. On a disk's own file system such an
/// error means a damaged disk.
void check(int result, int item, const Url& url)
{
    if (result == 0)
        return;
    const int code = errno;
    if (!is_lacking(code) && reports_faults(item))
        throw platform_error(code, url);
}

/// Security attributes are the system's own: labels belong to the place, and a copy must not
/// inherit capabilities or set-user bits.
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
            continue; // attributes added in between
        names.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
        return names;
    }
}

/// No value for an attribute that has vanished or is denied to this user.
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

/// Nobody else changes an item under construction, so one question to a network volume is enough.
bool has_mode(int fd, mode_t mode)
{
    struct statx facts {};
    return ::statx(fd, "", AT_EMPTY_PATH | AT_STATX_DONT_SYNC, STATX_MODE, &facts) == 0 &&
           (facts.stx_mode & 07777U) == mode;
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
    std::size_t bytes = 0;
    for (std::size_t start = 0; start < names.size(); start = names.find('\0', start) + 1) {
        const char* name = names.c_str() + start;
        if (!is_kept(name))
            continue;
        const auto value = attribute_value(from, name);
        if (!value)
            continue;
        bytes += std::strlen(name) + value->size();
        const int result = ::fsetxattr(to, name, value->data(), value->size(), 0);
        if (result != 0 && !is_too_large(errno, bytes))
            check(result, to, to_url);
    }
}

void keep_mode(int to, mode_t mode, const Url& to_url)
{
    if (!has_mode(to, kept_mode(mode)))
        check(::fchmod(to, kept_mode(mode)), to, to_url);
}

void keep_times(int to, const timespec& access, const timespec& modification, const Url& to_url)
{
    const timespec times[] = {access, modification};
    check(::futimens(to, times), to, to_url);
}

void keep_mode_and_times(int to, const ModeAndTimes& kept, const Url& to_url)
{
    keep_mode(to, kept.mode, to_url);
    keep_times(to, kept.access, kept.modification, to_url);
}

void keep_times_of_link(int folder, const std::string& name, const timespec& access,
                        const timespec& modification, const Url& url)
{
    const timespec times[] = {access, modification};
    check(::utimensat(folder, name.c_str(), times, AT_SYMLINK_NOFOLLOW), folder, url);
}

void keep_mode_of_item(int folder, const std::string& name, mode_t mode)
{
    const FileDescriptor node(::openat(folder, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (node && ::fstat(node.get(), &status) == 0 && (status.st_mode & S_IFMT) == (mode & S_IFMT))
        ::chmod(("/proc/self/fd/" + std::to_string(node.get())).c_str(), kept_mode(mode));
}

} // namespace orv
