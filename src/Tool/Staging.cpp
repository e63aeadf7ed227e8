#include "Tool/Staging.hpp"

#include "Tool/ProcessedFiles.hpp"
#include "utility/Uuid.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>

namespace orv {
namespace {

/// Two devices are never one volume; a shared one may still be two, which only a move can tell.
bool is_on_another_device(int one_folder, int other_folder)
{
    struct stat one {};
    struct stat other {};
    return ::fstat(one_folder, &one) == 0 && ::fstat(other_folder, &other) == 0 &&
           one.st_dev != other.st_dev;
}

} // namespace

Staging::~Staging()
{
    withdraw_note();
}

PartialFile Staging::create(const DestinationFolder& destination)
{
    if (way_ == Way::unnamed) {
        if (auto file = PartialFile::unnamed(destination))
            return std::move(*file);
        way_ = Way::in_processed_files;
    }
    open_processed_files(destination);
    if (way_ == Way::in_processed_files)
        return PartialFile::named(processed_files_, new_uuid());
    if (destination.url != announced_folder_)
        announce(destination);
    return PartialFile::named(destination, hidden_name(note_uuid_));
}

bool Staging::can_do_otherwise(int code)
{
    if (way_ == Way::unnamed && (code == EPERM || code == ENOENT || code == EOPNOTSUPP)) {
        way_ = Way::in_processed_files;
        return true;
    }
    if (way_ == Way::in_processed_files && code == EXDEV) {
        way_ = Way::beside_destination;
        return true;
    }
    return false;
}

void Staging::open_processed_files(const DestinationFolder& destination)
{
    if (processed_files_fd_)
        return;
    const Url& url = processed_files_folder();
    processed_files_fd_ =
        FileDescriptor(::open(url.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!processed_files_fd_)
        throw platform_error(errno, url);
    processed_files_ = {processed_files_fd_.get(), url};
    if (is_on_another_device(processed_files_.fd, destination.fd))
        way_ = Way::beside_destination;
}

/// Notes the one hidden name that files get in `destination` before the first of them exists, so
/// that the next start of the library finds what a killed process leaves there.
void Staging::announce(const DestinationFolder& destination)
{
    withdraw_note();
    const std::string uuid = new_uuid();
    const Url url = processed_files_.url.appending(note_name(uuid));
    note_ = create_owned_file(processed_files_.fd, note_name(uuid), url);
    note_uuid_ = uuid;
    const std::string path = destination.url.appending(hidden_name(uuid)).path();
    if (::write(note_.get(), path.data(), path.size()) != static_cast<ssize_t>(path.size()))
        throw platform_error(errno, url);
    announced_folder_ = destination.url;
}

void Staging::withdraw_note()
{
    if (!note_)
        return;
    ::unlinkat(processed_files_.fd, note_name(note_uuid_).c_str(), 0);
    note_.reset();
    announced_folder_ = Url();
}

} // namespace orv
