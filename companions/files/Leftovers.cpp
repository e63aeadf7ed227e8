#include "files/Leftovers.hpp"

#include "files/Flush.hpp"
#include "files/FolderReader.hpp"
#include "files/ItemStatus.hpp"
#include "files/NoReplaceRename.hpp"
#include "files/Note.hpp"
#include "files/Place.hpp"
#include "files/ProcessedFiles.hpp"
#include "files/ReadWrite.hpp"
#include "files/RemoveTree.hpp"
#include "files/SetAside.hpp"
#include "utility/BackgroundTask.hpp"
#include "utility/Uuid.hpp"
#include "utility/WorkerPool.hpp"

#include <orv/utility/Error.hpp>

#include <array>
#include <cerrno>
#include <climits>
#include <exception>
#include <future>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

namespace orv {
namespace {

/// The text of a note; a part of it for an unfinished note.
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

/// True if the item of that name is the one the other was set aside for. It is complete, because it
/// never has the name before. On a volume with changing inode numbers this is never true.
bool is_replacement(const Place& place, const Note& note)
{
    struct stat item {};
    return ::fstatat(place.folder(), note.original_name.c_str(), &item, AT_SYMLINK_NOFOLLOW) == 0 &&
           std::to_string(item.st_ino) == note.replacement;
}

/// Removes the hidden item, or gives it its name back. Unfinished items may have folders closed to
/// the user for writing.
void settle(const Note& note)
{
    const Place place = Place::in_opened_folder(note.hidden);
    const bool is_aside = !note.original_name.empty();
    if (!is_aside || is_replacement(place, note))
        return remove_tree(place.folder(), place.name(), note.hidden, Access::taken);
    const DestinationFolder folder{place.folder(), note.hidden.deleting_last_path_component()};
    NoReplaceRename rename;
    if (const int code = put_back(folder, place.path, note.original_name, rename))
        throw platform_error(code, note.hidden);
}

/// True if the note can go though its item is missing. The folder of an item set aside may have a
/// new name: then the note is the only trace of the item.
bool has_no_item(const Note& note)
{
    const bool has_folder = is_directory(note.hidden.deleting_last_path_component());
    return note.volume.is_mounted() && (note.original_name.empty() || has_folder);
}

/// Settles the item of the note. The item always has the note's name, whatever the note says.
/// Returns false if the note must stay for another try at the next start.
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

using Names = std::vector<std::string>;

void settle_note(int folder, const std::string& name) noexcept
try {
    const FileDescriptor note = lock_of_dead(folder, name);
    if (note && is_settled(note.get(), *uuid_of_note(name)))
        ::unlinkat(folder, name.c_str(), 0);
} catch (const std::exception&) {
    return; // the next start tries again
}

/// Removes the files dead processes built in the folder, and empty notes. Returns the other notes
/// of dead processes, by the place of their volume.
std::map<std::string, Names> remove_files(int folder)
{
    std::map<std::string, Names> notes;
    for (std::string& name : names_in(folder)) {
        const bool is_note = uuid_of_note(name).has_value();
        if (!is_note && !is_uuid(name))
            continue;
        const FileDescriptor item = lock_of_dead(folder, name);
        if (!item)
            continue;
        const auto note = is_note ? Note::parsed(text_of(item.get())) : std::nullopt;
        if (note)
            notes[note->volume.mount_point].push_back(std::move(name));
        else
            ::unlinkat(folder, name.c_str(), 0);
    }
    return notes;
}

/// Settles the notes in the background. The result becomes ready at the end, or when the work is
/// given up.
std::future<void> settle_notes(std::shared_ptr<const FileDescriptor> folder, Names notes)
{
    return bg_future([folder = std::move(folder), notes = std::move(notes)] {
        for (const std::string& note : notes)
            settle_note(folder->get(), note);
    });
}

} // namespace

void remove_leftovers(std::chrono::milliseconds longest_wait)
{
    const auto last_moment = std::chrono::steady_clock::now() + longest_wait;
    // Who puts a link there does not get the items of another folder removed.
    const auto folder = std::make_shared<const FileDescriptor>(::open(
        processed_files_folder().path().c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!*folder)
        return;
    std::vector<std::future<void>> settled;
    for (auto& [volume, notes] : remove_files(folder->get()))
        settled.push_back(settle_notes(folder, std::move(notes)));
    const WorkerPool::Blocked blocked;
    for (const std::future<void>& part : settled)
        part.wait_until(last_moment);
}

} // namespace orv
