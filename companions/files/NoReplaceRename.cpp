#include "files/NoReplaceRename.hpp"

#include "utility/FileDescriptor.hpp"

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv {
namespace {

int errno_of(int result)
{
    return result == 0 ? 0 : errno;
}

bool lacks_flag_or_call(int error)
{
    return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP;
}

/// An empty folder claims the name: a folder may be renamed over it, and only while it is empty.
int rename_folder(int from_folder, const char* from, int to_folder, const char* to)
{
    if (::mkdirat(to_folder, to, S_IRWXU) != 0)
        return errno;
    const int error = errno_of(::renameat(from_folder, from, to_folder, to));
    if (error != 0)
        ::unlinkat(to_folder, to, AT_REMOVEDIR);
    return error;
}

/// A second link claims the name and is the item at once.
int rename_by_link(int from_folder, const char* from, int to_folder, const char* to)
{
    if (::linkat(from_folder, from, to_folder, to, 0) != 0)
        return errno;
    const int error = errno_of(::unlinkat(from_folder, from, 0));
    if (error != 0)
        ::unlinkat(to_folder, to, 0);
    return error;
}

/// An empty file claims the name, for file systems without hard links.
int rename_by_empty_file(int from_folder, const char* from, int to_folder, const char* to)
{
    const FileDescriptor claim(
        ::openat(to_folder, to, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR));
    if (!claim)
        return errno;
    const int error = errno_of(::renameat(from_folder, from, to_folder, to));
    if (error != 0)
        ::unlinkat(to_folder, to, 0);
    return error;
}

} // namespace

int rename_no_replace(int from_folder, const char* from, int to_folder, const char* to)
{
    const int error = errno_of(::renameat2(from_folder, from, to_folder, to, RENAME_NOREPLACE));
    return lacks_flag_or_call(error)
               ? rename_no_replace_by_claiming(from_folder, from, to_folder, to)
               : error;
}

int rename_no_replace_by_claiming(int from_folder, const char* from, int to_folder, const char* to)
{
    struct stat item = {};
    if (::fstatat(from_folder, from, &item, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    if (S_ISDIR(item.st_mode))
        return rename_folder(from_folder, from, to_folder, to);
    const int error = rename_by_link(from_folder, from, to_folder, to);
    const bool lacks_links = lacks_flag_or_call(error) || error == EPERM || error == EMLINK;
    return lacks_links ? rename_by_empty_file(from_folder, from, to_folder, to) : error;
}

} // namespace orv
