#include "files/ProcessedFiles.hpp"

#include "files/Flush.hpp"
#include "files/FolderReader.hpp"
#include "files/ItemStatus.hpp"
#include "files/MakeFolder.hpp"
#include "files/Note.hpp"
#include "files/Place.hpp"
#include "files/ReadWrite.hpp"
#include "files/RemoveTree.hpp"
#include "files/SetAside.hpp"
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

/// Some volumes state no number of links for any file, so only a missing name proves a removal.
bool is_gone(int file, int folder, const std::string& name)
{
    struct stat status {};
    if (::fstat(file, &status) == 0 && status.st_nlink != 0)
        return false;
    return ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 && errno == ENOENT;
}

/// Volumes that store whole files elsewhere let nobody read a file while it is written. They refuse
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

/// The text of a note; a part of it if the note was not finished.
std::string text_of(int note)
{
    std::string text;
    std::array<std::byte, PATH_MAX>
        part; // NOLINT(cppcoreguidelines-pro-type-member-init): filled below
    const OpenFile file{note, processed_files_folder()};
    while (const std::size_t size = read_some(file, part, static_cast<std::int64_t>(text.size())))
        text.append(static_cast<const char*>(static_cast<const void*>(part.data())), size);
    return text;
}

/// True if the item of that name is the one for which another was set aside. It is complete, since
/// it never has the name before. Where inode numbers change, no item is known again.
bool is_replacement(const Place& place, const Note& note)
{
    struct stat item {};
    return ::fstatat(place.folder(), note.original_name.c_str(), &item, AT_SYMLINK_NOFOLLOW) == 0 &&
           std::to_string(item.st_ino) == note.replacement;
}

/// Removes the hidden item, or gives it back its name. Unfinished items may have folders that the
/// user may not write to.
void settle(const Note& note)
{
    const Place place = Place::in_opened_folder(note.hidden);
    const bool is_aside = !note.original_name.empty();
    if (!is_aside || is_replacement(place, note))
        return remove_tree(place.folder(), place.name(), note.hidden, Access::taken);
    const DestinationFolder folder{place.folder(), note.hidden.deleting_last_path_component()};
    if (const int code = put_back(folder, place.path, note.original_name))
        throw platform_error(code, note.hidden);
}

/// True if the note can go though its item was not found. The folder of an item that was set aside
/// may have been renamed: then the note is all that is known about the item.
bool has_no_item(const Note& note)
{
    const bool has_folder = is_directory(note.hidden.deleting_last_path_component());
    return note.volume.is_mounted() && (note.original_name.empty() || has_folder);
}

/// Writes the folder of an item to its disk.
void flush_folder_of(const Url& item)
{
    const Url folder = item.deleting_last_path_component();
    const FileDescriptor opened(::openat(Place::in_opened_folder(item).folder(), ".",
                                         O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK));
    if (!opened)
        throw platform_error(errno, folder);
    flush(opened.get(), folder);
}

/// Settles the item that the note announces. It is always one named after the note, whatever the
/// note says. Returns false if the note has to stay, so that the next start tries again.
bool is_settled(int note_file, std::string_view note_uuid)
{
    const auto note = Note::parsed(text_of(note_file));
    if (!note || note->hidden.last_path_component() != hidden_name(std::string(note_uuid)))
        return true;
    try {
        settle(*note);
        flush_folder_of(note->hidden);
        return true;
    } catch (const Error& error) {
        return error.code() == ENOENT && has_no_item(*note);
    }
}

std::vector<std::string> names_in(int folder)
{
    std::vector<std::string> names;
    FolderReader reader(std::make_unique<std::byte[]>(FolderReader::buffer_bytes));
    while (const auto entry = reader.next(folder))
        names.emplace_back(entry->name);
    return names;
}

void settle_leftover(int folder, const std::string& name)
{
    const FileDescriptor item = lock_of_dead(folder, name);
    if (!item)
        return;
    if (!is_note(name) || is_settled(item.get(), name.substr(0, name.size() - note_ending.size())))
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

void remove_leftovers()
{
    // Who puts a link there does not get the items of another folder removed.
    const FileDescriptor folder(::open(processed_files_folder().path().c_str(),
                                       O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!folder)
        return;
    for (const std::string& name : names_in(folder.get()))
        if (is_uuid(name) || is_note(name))
            settle_leftover(folder.get(), name);
}

FileDescriptor create_owned_file(int folder, const std::string& name, const Url& url, mode_t mode)
{
    for (;;) {
        FileDescriptor file = create_file(folder, name, url, mode);
        // A process that starts now may have taken the file for a leftover before it was locked. On
        // a file system without locks nobody can.
        ::flock(file.get(), LOCK_EX);
        if (!is_gone(file.get(), folder, name))
            return file;
    }
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
    return "." + uuid + ".orvresume";
}

std::string note_name(const std::string& uuid)
{
    return uuid + std::string(note_ending);
}

} // namespace orv
