#include "Operations/PartialFile.hpp"

#include "Operations/ProcessedFiles.hpp"
#include "Tool/NoReplaceRename.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <utility>

#include <fcntl.h>

namespace orv {

PartialFile::PartialFile(const DestinationFolder& folder, std::string name)
    : folder_(folder.fd), name_(std::move(name)), url_(folder.url.appending(name_)),
      file_(create_owned_file(folder_, name_, url_))
{
}

PartialFile::PartialFile(PartialFile&& other) noexcept
    : folder_(other.folder_), name_(std::exchange(other.name_, {})), url_(std::move(other.url_)),
      file_(std::move(other.file_))
{
}

PartialFile::~PartialFile()
{
    if (!name_.empty())
        ::unlinkat(folder_, name_.c_str(), 0);
}

int PartialFile::publish(const DestinationFolder& folder, const std::string& name)
{
    check_written();
    const int code = rename_no_replace(folder_, name_.c_str(), folder.fd, name.c_str());
    if (code == 0)
        name_.clear();
    return code;
}

/// Some file systems tell only when a descriptor is closed that they could not keep what was
/// written. The file's own descriptor has to stay open, since it holds the lock; a second one tells
/// as well.
void PartialFile::check_written() const
{
    const int second = ::fcntl(file_.get(), F_DUPFD_CLOEXEC, 0);
    if (second < 0 || ::close(second) != 0)
        throw platform_error(errno, url_);
}

} // namespace orv
