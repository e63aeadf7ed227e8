#include "files/ProcessedFiles.hpp"

#include "files/MakeFolder.hpp"
#include "utility/Uuid.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/Locations.hpp>

#include <cerrno>
#include <string_view>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv {
namespace {

constexpr std::string_view note_ending = ".note";
constexpr std::string_view hidden_ending = ".orvresume";

/// Some volumes state no number of links for any file, so only a missing name proves a removal.
bool is_gone(int file, int folder, const std::string& name)
{
    struct stat status {};
    if (::fstat(file, &status) == 0 && status.st_nlink != 0)
        return false;
    return ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 && errno == ENOENT;
}

/// Volumes that store whole files elsewhere allow no reads of a file during a write. They refuse
/// O_RDWR with errors of all kinds, so a second attempt asks for writing alone.
FileDescriptor create_file(int folder, const std::string& name, const Url& url, mode_t mode)
{
    constexpr int flags = O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    FileDescriptor file(::openat(folder, name.c_str(), O_RDWR | flags, mode));
    if (!file && errno != EEXIST)
        file = FileDescriptor(::openat(folder, name.c_str(), O_WRONLY | flags, mode));
    if (!file)
        throw platform_error(errno, url);
    return file;
}

} // namespace

const Url& processed_files_folder()
{
    static const auto* folder = new Url(temp_dir().appending("__orv_proc_files__"));
    return *folder;
}

bool create_processed_files_folder()
{
    try {
        make_folder(processed_files_folder(), true);
        return true;
    } catch (const Error&) {
        return false;
    }
}

FileDescriptor made_processed_files_folder()
{
    const char* path = processed_files_folder().path().c_str();
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    FileDescriptor folder(::open(path, flags));
    if (!folder && errno == ENOENT) {
        make_folder(processed_files_folder(), true);
        folder = FileDescriptor(::open(path, flags));
    }
    if (!folder)
        throw platform_error(errno, processed_files_folder());
    return folder;
}

FileDescriptor create_owned_file(int folder, const std::string& name, const Url& url, mode_t mode)
{
    for (;;) {
        FileDescriptor file = create_file(folder, name, url, mode);
        // A process that starts now may have taken the file for a leftover before its lock. On a
        // file system without locks no process can.
        ::flock(file.get(), LOCK_EX);
        if (!is_gone(file.get(), folder, name))
            return file;
    }
}

FileDescriptor lock_of_dead(int folder, const std::string& name)
{
    constexpr int flags = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    FileDescriptor file(::openat(folder, name.c_str(), O_RDWR | flags));
    if (!file)
        file = FileDescriptor(::openat(folder, name.c_str(), O_RDONLY | flags));
    if (!file || ::flock(file.get(), LOCK_EX | LOCK_NB) != 0)
        return {};
    return file;
}

bool is_owned_by_living(const std::string& name)
{
    const FileDescriptor folder = made_processed_files_folder();
    return ::faccessat(folder.get(), name.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0 &&
           !lock_of_dead(folder.get(), name);
}

FileDescriptor create_nameless_file()
{
    const FileDescriptor folder = made_processed_files_folder();
    FileDescriptor file(::openat(folder.get(), ".", O_RDWR | O_TMPFILE | O_CLOEXEC, 0600));
    if (!file) {
        const std::string name = new_uuid();
        file = create_owned_file(folder.get(), name, processed_files_folder().appending(name));
        ::unlinkat(folder.get(), name.c_str(), 0);
    }
    return file;
}

std::string hidden_name(const std::string& uuid)
{
    return "." + uuid + std::string(hidden_ending);
}

bool is_hidden_name(std::string_view name)
{
    return name.starts_with('.') && name.ends_with(hidden_ending);
}

std::string note_name(const std::string& uuid)
{
    return uuid + std::string(note_ending);
}

std::optional<std::string> uuid_of_note(std::string_view name)
{
    if (!name.ends_with(note_ending))
        return std::nullopt;
    const std::string_view uuid = name.substr(0, name.size() - note_ending.size());
    return is_uuid(uuid) ? std::optional<std::string>(uuid) : std::nullopt;
}

} // namespace orv
