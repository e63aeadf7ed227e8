#include "files/RenameOver.hpp"

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv {

int rename_over(int from_folder, const char* from, int to_folder, const char* to)
{
    struct stat file {};
    if (::fstatat(from_folder, from, &file, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    if (file.st_nlink == 0)
        return EOPNOTSUPP;
    return ::renameat(from_folder, from, to_folder, to) == 0 ? 0 : errno;
}

} // namespace orv
