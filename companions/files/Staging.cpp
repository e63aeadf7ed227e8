#include "files/Staging.hpp"

#include "files/ProcessedFiles.hpp"
#include "utility/Uuid.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>

namespace orv {
namespace {

/// Two devices are never one volume; one device may still be two volumes, and only a move can tell.
bool is_on_another_device(int one_folder, int other_folder)
{
    struct stat one {};
    struct stat other {};
    return ::fstat(one_folder, &one) == 0 && ::fstat(other_folder, &other) == 0 &&
           one.st_dev != other.st_dev;
}

/// True if a nameless file cannot get a name there, though a file with a name may.
bool cannot_name(int code)
{
    return code == EPERM || code == ENOENT || code == EOPNOTSUPP || code == EINVAL ||
           code == ENOSYS || code == EMLINK || code == EXDEV;
}

} // namespace

PartialFile Staging::create(const DestinationFolder& destination, mode_t mode)
{
    if (way_ == Way::unnamed) {
        if (auto file = PartialFile::unnamed(destination, mode))
            return std::move(*file);
        way_ = Way::in_processed_files;
    }
    open_processed_files(destination);
    if (way_ == Way::in_processed_files)
        return PartialFile::named(processed_files_, new_uuid());
    return create_hidden(destination, mode);
}

void Staging::close()
{
    hidden_name_.reset();
    processed_files_fd_ = {};
}

bool Staging::can_do_otherwise(int code)
{
    if (way_ == Way::unnamed && cannot_name(code)) {
        way_ = Way::in_processed_files;
        return true;
    }
    // ENOENT: the file was closed for its rename, and a starting process took it for a leftover. A
    // file beside its destination has its note for protection.
    if (way_ == Way::in_processed_files && (code == EXDEV || code == ENOENT)) {
        way_ = Way::beside_destination;
        return true;
    }
    if (hiding_place_ && code == EXDEV) {
        hiding_place_.reset();
        hidden_name_.reset(); // perhaps in a folder that moved away meanwhile
        return true;
    }
    return false;
}

void Staging::open_processed_files(const DestinationFolder& destination)
{
    if (processed_files_fd_)
        return;
    processed_files_fd_ = made_processed_files_folder();
    processed_files_ = {processed_files_fd_.get(), processed_files_folder()};
    if (is_on_another_device(processed_files_.fd, destination.fd))
        way_ = Way::beside_destination;
}

PartialFile Staging::create_hidden(const DestinationFolder& destination, mode_t mode)
{
    const DestinationFolder& folder = hiding_place_ ? hiding_place_->folder : destination;
    const bool is_private = hiding_place_ && hiding_place_->is_private;
    try {
        if (!hidden_name_ || folder.url != hidden_name_->folder().url) {
            hidden_name_.reset();
            hidden_name_ = std::make_shared<HiddenName>(folder);
        }
        return PartialFile::hidden(hidden_name_, is_private ? mode : 0600);
    } catch (const Error&) {
        if (!hiding_place_)
            throw;
    }
    hiding_place_.reset();
    return create_hidden(destination, mode);
}

} // namespace orv
