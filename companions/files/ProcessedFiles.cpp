#include "files/ProcessedFiles.hpp"

#include "files/FolderReader.hpp"
#include "files/MakeFolder.hpp"
#include "files/RemoveTree.hpp"
#include "utility/Uuid.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/Locations.hpp>

#include <array>
#include <cerrno>
#include <climits>
#include <memory>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace orv {
namespace {

constexpr std::string_view note_ending = ".note";

bool is_note(std::string_view name)
{
    return name.ends_with(note_ending) && is_uuid(name.substr(0, name.size() - note_ending.size()));
}

bool is_gone(int fd)
{
    struct stat status {};
    return ::fstat(fd, &status) != 0 || status.st_nlink == 0;
}

/// Takes the lock of an item whose owner no longer lives; no descriptor when it lives, or nothing
/// can be said.
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

/// The path in a note; empty when the note was not finished.
std::string announced_path(int note)
{
    std::string path;
    std::array<char, PATH_MAX> text; // NOLINT(cppcoreguidelines-pro-type-member-init): filled below
    for (;;) {
        const auto offset = static_cast<off_t>(path.size());
        const ssize_t length = ::pread(note, text.data(), text.size(), offset);
        if (length <= 0)
            return path;
        path.append(text.data(), static_cast<std::size_t>(length));
    }
}

/// Removes what the note announces, which is nothing but a hidden item named after the note.
void remove_announced(int note, std::string_view note_uuid)
{
    const Url url(announced_path(note));
    if (url.last_path_component() == hidden_name(std::string(note_uuid)))
        remove_tree(url);
}

std::vector<std::string> names_in(int folder)
{
    std::vector<std::string> names;
    FolderReader reader(std::make_unique<std::byte[]>(FolderReader::buffer_bytes));
    while (const auto entry = reader.next(folder))
        names.emplace_back(entry->name);
    return names;
}

void remove_leftover(int folder, const std::string& name)
{
    const FileDescriptor item = lock_of_dead(folder, name);
    if (!item)
        return;
    try {
        if (is_note(name))
            remove_announced(item.get(), name.substr(0, name.size() - note_ending.size()));
    } catch (const Error& error) {
        if (error.code() != ENOENT)
            return; // the note stays, so that the next start tries again
    }
    ::unlinkat(folder, name.c_str(), 0);
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

FileDescriptor open_processed_files_folder()
{
    FileDescriptor folder(
        ::open(processed_files_folder().path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder)
        throw platform_error(errno, processed_files_folder());
    return folder;
}

void remove_leftovers()
{
    const FileDescriptor folder(
        ::open(processed_files_folder().path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder)
        return;
    for (const std::string& name : names_in(folder.get()))
        if (is_uuid(name) || is_note(name))
            remove_leftover(folder.get(), name);
}

FileDescriptor create_owned_file(int folder, const std::string& name, const Url& url)
{
    for (;;) {
        FileDescriptor file(::openat(folder, name.c_str(),
                                     O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (!file)
            throw platform_error(errno, url);
        // A process that starts now may have taken the file for a leftover before it was locked. On
        // a file system without locks nobody can.
        ::flock(file.get(), LOCK_EX);
        if (!is_gone(file.get()))
            return file;
    }
}

FileDescriptor create_nameless_file()
{
    const FileDescriptor folder = open_processed_files_folder();
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
    return "." + uuid + ".orvresume";
}

std::string note_name(const std::string& uuid)
{
    return uuid + std::string(note_ending);
}

} // namespace orv
