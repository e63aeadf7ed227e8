#include "files/HiddenName.hpp"

#include "files/Flush.hpp"
#include "files/Note.hpp"
#include "files/ProcessedFiles.hpp"
#include "files/ReadWrite.hpp"
#include "utility/Uuid.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace orv {
namespace {

/// The folder once more: the caller's descriptor may not live as long, or allow no flush.
FileDescriptor opened_again(const DestinationFolder& folder)
{
    constexpr int flags = O_DIRECTORY | O_CLOEXEC;
    FileDescriptor again(::openat(folder.fd, ".", O_RDONLY | flags));
    if (!again && errno == EACCES)
        again = FileDescriptor(::openat(folder.fd, ".", O_PATH | flags));
    if (!again)
        throw platform_error(errno, folder.url);
    return again;
}

bool is_readable(int folder)
{
    const int flags = ::fcntl(folder, F_GETFL);
    return flags >= 0 && (flags & O_PATH) == 0;
}

} // namespace

/// The note exists after the other constructor, so it goes if its text cannot be written.
HiddenName::HiddenName(const DestinationFolder& folder, const std::string& original_name,
                       std::optional<std::uint64_t> replacement)
    : HiddenName(folder, new_uuid(), Unwritten{})
{
    announce(original_name, replacement);
}

HiddenName::HiddenName(const DestinationFolder& folder, const std::string& uuid, Unwritten)
    : folder_(opened_again(folder)), is_readable_(is_readable(folder_.get())), url_(folder.url),
      processed_files_(made_processed_files_folder()), text_(hidden_name(uuid)),
      note_name_(note_name(uuid)),
      note_(create_owned_file(processed_files_.get(), note_name_,
                              processed_files_folder().appending(note_name_)))
{
}

/// A read-only volume answers EROFS before it looks for the item. It has none: this process could
/// not have made one.
void HiddenName::removal_ended(int code)
{
    if (code != 0 && code != ENOENT && code != EROFS)
        leave_behind();
}

HiddenName::~HiddenName()
{
    if (note_name_.empty())
        return;
    try {
        flush_folder();
    } catch (const Error&) {
        return;
    }
    ::unlinkat(processed_files_.get(), note_name_.c_str(), 0);
}

void HiddenName::flush_folder() const
{
    if (is_readable_)
        flush(folder_.get(), url_);
}

/// The path in the note is one without links, since a link may lead elsewhere at the next start.
void HiddenName::announce(const std::string& original_name,
                          std::optional<std::uint64_t> replacement) const
{
    const Url url = processed_files_folder().appending(note_name_);
    const Note note{url_.resolving_symlinks().appending(text_), original_name,
                    replacement ? std::to_string(*replacement) : std::string(),
                    MountedVolume::of(folder_.get(), url_)};
    write_all({note_.get(), url}, note.text(), 0);
    flush(note_.get(), url);
    flush(processed_files_.get(), processed_files_folder());
}

} // namespace orv
