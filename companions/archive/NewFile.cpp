#include "archive/NewFile.hpp"

#include "files/FreeName.hpp"
#include "utility/Uuid.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv::archive {
namespace {

// Smaller parts are no holes worth the calls.
constexpr std::size_t min_hole = 64 * 1024;
constexpr int max_names_tried = 100;

/// An empty file without a name; none where the file system has no such files.
FileDescriptor unnamed_file(const NewItemFolder& folder, const std::string& name)
{
    FileDescriptor file(
        ::openat(folder.descriptor.get(), ".", O_WRONLY | O_TMPFILE | O_CLOEXEC, 0666));
    if (!file && errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL && errno != ENOENT)
        throw platform_error(errno, folder.url.appending(name));
    return file;
}

std::shared_ptr<const std::string> new_name()
{
    return std::make_shared<const std::string>("." + new_uuid() + ".orvresume");
}

/// Renames without replacing anything; by a second link where the file system cannot do so at once.
int rename_no_replace(int folder, const char* from, const char* to)
{
    if (::renameat2(folder, from, folder, to, RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return errno;
    if (::linkat(folder, from, folder, to, 0) != 0)
        return errno;
    return ::unlinkat(folder, from, 0) == 0 ? 0 : errno;
}

} // namespace

void check_kept(int result, const Url& url)
{
    if (result == 0)
        return;
    for (const int lacking : {ENOTSUP, ENOSYS, EPERM, EACCES, EINVAL})
        if (errno == lacking)
            return;
    throw platform_error(errno, url);
}

void apply(const Keepsakes& keepsakes, int fd, const Url& url)
{
    if (keepsakes.mode)
        check_kept(::fchmod(fd, *keepsakes.mode), url);
    if (keepsakes.time) {
        const timespec times[] = {{0, UTIME_OMIT}, *keepsakes.time};
        check_kept(::futimens(fd, times), url);
    }
}

NewFile::NewFile(std::shared_ptr<const NewItemFolder> folder, std::string name,
                 const Zip::UnfinishedName& unfinished_name)
    : folder_(std::move(folder)), name_(std::move(name)), file_(unnamed_file(*folder_, name_))
{
    if (file_)
        return;
    auto hidden_name = unfinished_name ? unfinished_name(folder_->url) : new_name();
    file_ = FileDescriptor(::openat(folder_->descriptor.get(), hidden_name->c_str(),
                                    O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
    if (!file_)
        fail(errno);
    hidden_name_ = std::move(hidden_name);
}

NewFile::~NewFile()
{
    if (hidden_name_)
        ::unlinkat(folder_->descriptor.get(), hidden_name_->c_str(), 0);
}

void NewFile::write(ByteView part)
{
    ends_with_hole_ = part.size() >= min_hole && is_zeros(part);
    for (; !ends_with_hole_ && !part.empty();) {
        const ssize_t written =
            ::pwrite(file_.get(), part.data(), part.size(), static_cast<off_t>(size_));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            fail(written < 0 ? errno : ENOSPC);
        part = part.subspan(static_cast<std::size_t>(written));
        size_ += static_cast<std::uint64_t>(written);
    }
    size_ += part.size();
}

void NewFile::publish(const Keepsakes& keepsakes)
{
    finish(keepsakes);
    int code = place();
    for (int tried = 0; code == EEXIST && tried < max_names_tried; ++tried) {
        const auto free = generate_non_conflicting_file_url(folder_->url.appending(name_), {});
        if (!free)
            break;
        name_ = free->last_path_component();
        code = place();
    }
    if (code != 0)
        fail(code);
    hidden_name_.reset();
}

/// Some file systems tell only when a descriptor is closed that they could not keep what was
/// written. The file's own descriptor has to stay open; closing a second one tells as well.
void NewFile::finish(const Keepsakes& keepsakes)
{
    if (ends_with_hole_ && ::ftruncate(file_.get(), static_cast<off_t>(size_)) != 0)
        fail(errno);
    apply(keepsakes, file_.get(), folder_->url.appending(name_));
    const int second = ::fcntl(file_.get(), F_DUPFD_CLOEXEC, 0);
    if (second < 0 || ::close(second) != 0)
        fail(errno);
}

int NewFile::place()
{
    const int folder = folder_->descriptor.get();
    if (hidden_name_)
        return rename_no_replace(folder, hidden_name_->c_str(), name_.c_str());
    // Linking a descriptor by itself takes a privilege; by its name in /proc it does not.
    if (::linkat(file_.get(), "", folder, name_.c_str(), AT_EMPTY_PATH) == 0)
        return 0;
    if (errno != ENOENT && errno != EPERM)
        return errno;
    const std::string path = "/proc/self/fd/" + std::to_string(file_.get());
    return ::linkat(AT_FDCWD, path.c_str(), folder, name_.c_str(), AT_SYMLINK_FOLLOW) == 0 ? 0
                                                                                           : errno;
}

void NewFile::fail(int code) const
{
    throw platform_error(code, folder_->url.appending(name_));
}

} // namespace orv::archive
