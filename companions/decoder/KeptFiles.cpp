#include "decoder/KeptFiles.hpp"

#include "utility/FileDescriptor.hpp"

#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <map>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace orv::decoder {
namespace {

using Kept = std::map<std::string, FileDescriptor, std::less<>>;

/// Never destroyed: libraries open files while the process ends, too.
Kept& kept()
{
    static auto* files = new Kept;
    return *files;
}

int open_by_name(const char* path, int flags, mode_t mode)
{
    return static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

/// A new descriptor of a kept file, at the beginning; otherwise the kernel's answer.
int open_again(const char* path, int flags, mode_t mode)
{
    const auto found = kept().find(std::string_view(path));
    if (found == kept().end() || (flags & O_ACCMODE) != O_RDONLY)
        return open_by_name(path, flags, mode);
    const int again = ::fcntl(found->second.get(), F_DUPFD_CLOEXEC, 0);
    if (again >= 0)
        ::lseek(again, 0, SEEK_SET);
    return again;
}

bool is_kept(const char* path)
{
    return kept().contains(std::string_view(path));
}

/// The flags of an `fopen` mode, such as "r+e".
int flags_of(std::string_view mode)
{
    const bool updates = mode.find('+') != std::string_view::npos;
    if (mode.starts_with('w'))
        return (updates ? O_RDWR : O_WRONLY) | O_CREAT | O_TRUNC;
    if (mode.starts_with('a'))
        return (updates ? O_RDWR : O_WRONLY) | O_CREAT | O_APPEND;
    return updates ? O_RDWR : O_RDONLY;
}

} // namespace

bool keep_file(const std::string& path)
{
    FileDescriptor file(open_by_name(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC, 0));
    // Leaves some descriptors for the decoding, also under a low limit.
    constexpr int spare = 32;
    if (!file || file.get() + spare >= ::sysconf(_SC_OPEN_MAX))
        return false;
    kept()[path] = std::move(file);
    return true;
}

void keep_files_below(std::string_view folder)
{
    namespace fs = std::filesystem;
    std::error_code error;
    for (fs::recursive_directory_iterator file(folder, error), end; !error && file != end;
         file.increment(error))
        if (file->is_regular_file(error))
            keep_file(file->path().string());
}

} // namespace orv::decoder

// The functions libraries call. The names, and their second ones for large files, are the C
// library's.

extern "C" {

int open(const char* path, int flags, ...)
{
    mode_t mode = 0;
    if ((flags & (O_CREAT | O_TMPFILE)) != 0) {
        std::va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
    }
    return orv::decoder::open_again(path, flags, mode);
}

int open64(const char* path, int flags, ...) __attribute__((alias("open")));

std::FILE* fopen(const char* path, const char* mode)
{
    constexpr mode_t all = 0666;
    const int file = orv::decoder::open_again(path, orv::decoder::flags_of(mode) | O_CLOEXEC, all);
    return file < 0 ? nullptr : ::fdopen(file, mode);
}

std::FILE* fopen64(const char* path, const char* mode) __attribute__((alias("fopen")));

/// A kept file can be read.
int access(const char* path, int mode)
{
    if (mode == R_OK && orv::decoder::is_kept(path))
        return 0;
    return static_cast<int>(::syscall(SYS_faccessat, AT_FDCWD, path, mode));
}

/// By the descriptor alone: the C library's own asks by an empty name, and the filter cannot tell
/// it from any other.
int fstat(int file, struct stat* facts)
{
    return static_cast<int>(::syscall(SYS_fstat, file, facts));
}

int fstat64(int file, struct stat64* facts)
{
    return static_cast<int>(::syscall(SYS_fstat, file, facts));
}
}
