#include "files/NoReplaceRename.hpp"

#include <cerrno>
#include <cstdio>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv {
namespace {

int errno_of(int result)
{
    return result == 0 ? 0 : errno;
}

/// No value if the volume lacks the flag. FUSE answers EINVAL, old kernels ENOSYS, some network
/// volumes EOPNOTSUPP.
std::optional<int> rename_by_flag(int from_folder, const char* from, int to_folder, const char* to)
{
    const int error = errno_of(::renameat2(from_folder, from, to_folder, to, RENAME_NOREPLACE));
    if (error == EINVAL || error == ENOSYS || error == EOPNOTSUPP)
        return std::nullopt;
    return error;
}

/// No value if the volume has no links, or none for such an item. Every error but EEXIST counts as
/// that: volumes without links answer EPERM, ENOSYS, EOPNOTSUPP, EACCES, EIO and more.
std::optional<int> rename_by_link(int from_folder, const char* from, int to_folder, const char* to)
{
    if (::linkat(from_folder, from, to_folder, to, 0) != 0)
        return errno == EEXIST ? std::optional(EEXIST) : std::nullopt;
    const int error = errno_of(::unlinkat(from_folder, from, 0));
    if (error != 0)
        ::unlinkat(to_folder, to, 0);
    return error;
}

int rename_by_looking(int from_folder, const char* from, int to_folder, const char* to,
                      FileDescriptor* open_file)
{
    struct stat taken {};
    if (::fstatat(to_folder, to, &taken, AT_SYMLINK_NOFOLLOW) == 0)
        return EEXIST;
    if (errno != ENOENT)
        return errno;
    if (open_file && *open_file && ::close(open_file->release()) != 0)
        return errno;
    return errno_of(::renameat(from_folder, from, to_folder, to));
}

bool is_folder(int folder, const char* name)
{
    struct stat item {};
    return ::fstatat(folder, name, &item, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(item.st_mode);
}

} // namespace

int NoReplaceRename::operator()(int from_folder, const char* from, int to_folder, const char* to,
                                FileDescriptor* open_file)
{
    if (way_ == Way::by_flag) {
        if (const auto error = rename_by_flag(from_folder, from, to_folder, to))
            return *error;
        way_ = Way::by_link;
    }
    if (way_ == Way::by_link) {
        // No volume links folders, so a folder tells nothing about the next file.
        if (!open_file && is_folder(from_folder, from))
            return rename_by_looking(from_folder, from, to_folder, to, open_file);
        if (const auto error = rename_by_link(from_folder, from, to_folder, to))
            return *error;
    }
    const int error = rename_by_looking(from_folder, from, to_folder, to, open_file);
    // A rename that fails here, too, may have failed to link for the same reason.
    if (error == 0)
        way_ = Way::by_looking;
    return error;
}

} // namespace orv
