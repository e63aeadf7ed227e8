#include "archive/ArchiveFile.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <cerrno>
#include <new>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace orv::archive {
namespace {

constexpr std::size_t buffer_size = 1 << 20;

void write_at(int file, ByteView bytes, std::uint64_t position, const Url& url)
{
    while (!bytes.empty()) {
        const ssize_t written =
            ::pwrite(file, bytes.data(), bytes.size(), static_cast<off_t>(position));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            throw platform_error(written < 0 ? errno : ENOSPC, url);
        bytes = bytes.subspan(static_cast<std::size_t>(written));
        position += static_cast<std::uint64_t>(written);
    }
}

} // namespace

ArchiveFile::ArchiveFile(Url url) : url_(std::move(url))
{
    constexpr int flags = O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    const char* path = url_.path().c_str();
    file_ = FileDescriptor(::open(path, flags | O_CREAT | O_EXCL, 0666));
    is_own_ = static_cast<bool>(file_);
    if (!file_ && errno == EEXIST)
        file_ = FileDescriptor(::open(path, flags & ~O_NOFOLLOW)); // it may be one of /proc
    if (!file_ || ::fstat(file_.get(), &facts_) != 0)
        throw platform_error(errno, url_);
    if (!is_own_ && (!S_ISREG(facts_.st_mode) || facts_.st_size != 0))
        throw platform_error(EEXIST, url_);
    buffer_.reserve(buffer_size);
}

ArchiveFile::~ArchiveFile()
{
    if (is_finished_ || !file_)
        return;
    if (is_own_)
        ::unlink(url_.path().c_str());
    else if (::ftruncate(file_.get(), 0) != 0)
        return; // its keeper removes it as it is
}

void ArchiveFile::write(ByteView bytes)
{
    const std::uint64_t buffer_end = buffer_start_ + buffer_.size();
    if (position_ < buffer_start_ || position_ > buffer_end) {
        write_at(file_.get(), bytes, position_, url_);
        position_ += bytes.size();
        return;
    }
    const auto at = static_cast<std::size_t>(position_ - buffer_start_);
    const std::size_t replaced = std::min(bytes.size(), buffer_.size() - at);
    std::copy_n(bytes.begin(), replaced, buffer_.begin() + static_cast<std::ptrdiff_t>(at));
    const ByteView added = bytes.subspan(replaced);
    buffer_.insert(buffer_.end(), added.begin(), added.end());
    position_ += bytes.size();
    if (buffer_.size() >= buffer_size)
        flush();
}

/// A hole reads as the zeros that it takes the place of.
void ArchiveFile::flush()
{
    if (buffer_.empty())
        return;
    ends_with_hole_ = is_zeros(buffer_);
    if (!ends_with_hole_)
        write_at(file_.get(), buffer_, buffer_start_, url_);
    buffer_start_ += buffer_.size();
    buffer_.clear();
}

/// Some file systems tell only when a descriptor is closed that they could not keep what was
/// written; closing a second one tells as well.
void ArchiveFile::finish()
{
    flush();
    if (ends_with_hole_ && ::ftruncate(file_.get(), static_cast<off_t>(buffer_start_)) != 0)
        throw platform_error(errno, url_);
    const int second = ::fcntl(file_.get(), F_DUPFD_CLOEXEC, 0);
    if (second < 0 || ::close(second) != 0)
        throw platform_error(errno, url_);
    is_finished_ = true;
}

zip_source_t* ArchiveFile::as_zip_source()
{
    zip_source_t* source = zip_source_function_create(&ArchiveFile::serve, this, nullptr);
    if (!source)
        throw std::bad_alloc();
    return source;
}

void ArchiveFile::rethrow_failure() const
{
    if (failure_)
        std::rethrow_exception(failure_);
}

zip_int64_t ArchiveFile::serve(void* self, void* data, zip_uint64_t size, zip_source_cmd_t command)
{
    auto& file = *static_cast<ArchiveFile*>(self);
    try {
        return file.handle(data, size, command);
    } catch (...) {
        if (!file.failure_)
            file.failure_ = std::current_exception();
        return -1;
    }
}

zip_int64_t ArchiveFile::handle(void* data, zip_uint64_t size, zip_source_cmd_t command)
{
    switch (command) {
    case ZIP_SOURCE_SUPPORTS:
        return ZIP_SOURCE_SUPPORTS_WRITABLE;
    case ZIP_SOURCE_WRITE:
        write({static_cast<const std::byte*>(data), static_cast<std::size_t>(size)});
        return static_cast<zip_int64_t>(size);
    case ZIP_SOURCE_SEEK_WRITE: {
        const auto* to = ZIP_SOURCE_GET_ARGS(zip_source_args_seek_t, data, size, nullptr);
        if (!to || to->whence != SEEK_SET || to->offset < 0)
            return -1;
        seek(static_cast<std::uint64_t>(to->offset));
        return 0;
    }
    case ZIP_SOURCE_TELL_WRITE:
        return static_cast<zip_int64_t>(position_);
    case ZIP_SOURCE_BEGIN_WRITE:
    case ZIP_SOURCE_COMMIT_WRITE:
    case ZIP_SOURCE_ROLLBACK_WRITE:
    case ZIP_SOURCE_FREE:
        return 0;
    case ZIP_SOURCE_ERROR: {
        // To libzip the archive does not exist yet, which is all that it asks about.
        zip_error_t error{ZIP_ER_READ, ENOENT, nullptr};
        return zip_error_to_data(&error, data, size);
    }
    default:
        return -1;
    }
}

} // namespace orv::archive
