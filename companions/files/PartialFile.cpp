#include "files/PartialFile.hpp"

#include "files/ProcessedFiles.hpp"

#include <orv/utility/Error.hpp>

#include <atomic>
#include <cerrno>
#include <utility>

#include <fcntl.h>

namespace orv {
namespace {

/// True if a file with a name would fail, too. Every other error may mean a volume without nameless
/// files: EOPNOTSUPP as a rule, EISDIR or ENOENT from old kernels, EINVAL, ENOSYS or EIO from FUSE.
bool refuses_any_file(int code)
{
    return code == EACCES || code == EROFS || code == ENOSPC || code == EDQUOT || code == EMFILE ||
           code == ENFILE || code == ENOMEM;
}

/// Returns 0 or the errno.
int removed(int folder, const std::string& name)
{
    return ::unlinkat(folder, name.c_str(), 0) == 0 ? 0 : errno;
}

} // namespace

std::optional<PartialFile> PartialFile::unnamed(const DestinationFolder& folder, mode_t mode)
{
    FileDescriptor file(::openat(folder.fd, ".", O_RDWR | O_TMPFILE | O_CLOEXEC, mode));
    if (file)
        return PartialFile(folder.fd, {}, folder.url, std::move(file));
    if (refuses_any_file(errno))
        throw platform_error(errno, folder.url);
    return std::nullopt;
}

PartialFile PartialFile::named(const DestinationFolder& folder, std::string name, mode_t mode)
{
    Url url = folder.url.appending(name);
    FileDescriptor file = create_owned_file(folder.fd, name, url, mode);
    return {folder.fd, std::move(name), std::move(url), std::move(file)};
}

PartialFile PartialFile::hidden(std::shared_ptr<HiddenName> name, mode_t mode)
{
    const DestinationFolder folder = name->folder();
    try {
        PartialFile file = named(folder, name->text(), mode);
        file.announced_ = std::move(name);
        return file;
    } catch (const Error&) {
        // A volume that went away meanwhile may have made the file all the same.
        name->removal_ended(removed(folder.fd, name->text()));
        throw;
    }
}

PartialFile::PartialFile(int folder, std::string name, Url url, FileDescriptor file)
    : folder_(folder), name_(std::move(name)), url_(std::move(url)), file_(std::move(file))
{
}

PartialFile::PartialFile(PartialFile&& other) noexcept
    : folder_(other.folder_), name_(std::exchange(other.name_, {})), url_(std::move(other.url_)),
      file_(std::move(other.file_)), announced_(std::move(other.announced_))
{
}

PartialFile::~PartialFile()
{
    if (!has_name())
        return;
    const int code = removed(folder_, name_);
    if (announced_)
        announced_->removal_ended(code);
}

int PartialFile::publish(const DestinationFolder& folder, const std::string& name,
                         NoReplaceRename& rename)
{
    if (announced_)
        close_written();
    else
        check_written();
    if (!has_name())
        return link_to(folder.fd, name.c_str());
    const int code = rename(folder_, name_.c_str(), folder.fd, name.c_str(), &file_);
    if (code == 0) {
        name_.clear();
        announced_.reset();
    }
    return code;
}

Url PartialFile::reachable_url() const
{
    return has_name() ? url_ : Url(proc_path());
}

/// Some file systems report a lost write only at the close of a descriptor. The file's own must
/// stay open; the close of a second one reports it as well.
void PartialFile::check_written() const
{
    const int second = ::fcntl(file_.get(), F_DUPFD_CLOEXEC, 0);
    if (second < 0 || ::close(second) != 0)
        throw platform_error(errno, url_);
}

/// A file with a note needs no lock, and a FUSE volume charges for every name an open file loses.
void PartialFile::close_written()
{
    if (file_ && ::close(file_.release()) != 0 && errno != EINTR)
        throw platform_error(errno, url_);
}

std::string PartialFile::proc_path() const
{
    return "/proc/self/fd/" + std::to_string(file_.get());
}

/// Linking a descriptor by itself takes a privilege on older systems; by its name in /proc it does
/// not.
int PartialFile::link_to(int folder, const char* name) const
{
    static std::atomic<bool> links_by_itself = true;
    if (links_by_itself) {
        if (::linkat(file_.get(), "", folder, name, AT_EMPTY_PATH) == 0)
            return 0;
        if (errno != ENOENT && errno != EPERM)
            return errno;
    }
    if (::linkat(AT_FDCWD, proc_path().c_str(), folder, name, AT_SYMLINK_FOLLOW) != 0)
        return errno;
    links_by_itself = false;
    return 0;
}

} // namespace orv
