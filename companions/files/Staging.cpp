#include "files/Staging.hpp"

#include "files/ProcessedFiles.hpp"
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
    if (!hidden_name_ || destination.url != announced_folder_)
        announce(destination);
    return PartialFile::named(destination, hidden_name_->text());
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
    processed_files_fd_ = open_processed_files_folder();
    processed_files_ = {processed_files_fd_.get(), processed_files_folder()};
    if (is_on_another_device(processed_files_.fd, destination.fd))
        way_ = Way::beside_destination;
}

void Staging::announce(const DestinationFolder& destination)
{
    hidden_name_.reset();
    hidden_name_.emplace(processed_files_, destination.url);
    announced_folder_ = destination.url;
}

} // namespace orv
