#include "archive/ArchiveFile.hpp"

#include "files/ReadWrite.hpp"

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

} // namespace

ArchiveFile::ArchiveFile(Url url) : url_(std::move(url)), place_(Place::of(url_))
{
    constexpr int flags = O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    const int folder = place_.folder();
    file_ = FileDescriptor(::openat(folder, place_.name(), flags | O_CREAT | O_EXCL, 0666));
    is_own_ = static_cast<bool>(file_);
    if (!file_ && errno == EEXIST) // it may be one of /proc
        file_ = FileDescriptor(::openat(folder, place_.name(), flags & ~O_NOFOLLOW));
    if (!file_ || ::statx(file_.get(), "", AT_EMPTY_PATH, STATX_BASIC_STATS, &facts_) != 0)
        throw platform_error(errno, url_);
    if (!is_own_ && (!S_ISREG(facts_.stx_mode) || facts_.stx_size != 0))
        throw platform_error(EEXIST, url_);
    buffer_.reserve(buffer_size);
}

ArchiveFile::~ArchiveFile()
{
    if (is_finished_)
        return;
    if (is_own_)
        ::unlinkat(place_.folder(), place_.name(), 0);
    else if (::ftruncate(file_.get(), 0) != 0)
        return; // its keeper removes it as it is
}

void ArchiveFile::write(ByteView bytes)
{
    const std::uint64_t buffer_end = buffer_start_ + buffer_.size();
    if (position_ < buffer_start_ || position_ > buffer_end) {
        write_all({file_.get(), url_}, bytes, static_cast<std::int64_t>(position_));
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

/// A hole reads as the zeros in its place.
void ArchiveFile::flush()
{
    if (buffer_.empty())
        return;
    ends_with_hole_ = is_zeros(buffer_);
    if (!ends_with_hole_)
        write_all({file_.get(), url_}, buffer_, static_cast<std::int64_t>(buffer_start_));
    buffer_start_ += buffer_.size();
    buffer_.clear();
}

ArchiveToRead ArchiveFile::to_read()
{
    flush();
    FileDescriptor file(::fcntl(file_.get(), F_DUPFD_CLOEXEC, 0));
    if (!file)
        throw platform_error(errno, url_);
    return {std::move(file), url_, buffer_start_};
}

void ArchiveFile::finish()
{
    flush();
    if (ends_with_hole_ && ::ftruncate(file_.get(), static_cast<off_t>(buffer_start_)) != 0)
        throw platform_error(errno, url_);
    // Some file systems report a lost write no earlier.
    if (::close(file_.release()) != 0)
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
        // libzip asks only if the archive exists, and for libzip it does not exist yet.
        zip_error_t error{ZIP_ER_READ, ENOENT, nullptr};
        return zip_error_to_data(&error, data, size);
    }
    default:
        return -1;
    }
}

} // namespace orv::archive
