#include "files/FileContent.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <optional>
#include <thread>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace orv {
namespace {

constexpr std::int64_t chunk_size = 102'400;
constexpr std::int64_t kernel_call_size = 8 << 20;
constexpr std::int64_t block_size = 512; // the unit of st_blocks

/// Whether a call failed because these files cannot be handled in its way, so that another way is
/// to be tried.
bool is_unsupported(int code)
{
    return code == EOPNOTSUPP || code == ENOSYS || code == EXDEV || code == EINVAL ||
           code == ENOTTY || code == EPERM || code == ETXTBSY || code == EBADF;
}

std::int64_t read_some(const OpenFile& from, char* buffer, std::int64_t size, std::int64_t offset)
{
    for (;;) {
        const ssize_t count = ::pread(from.fd, buffer, static_cast<std::size_t>(size), offset);
        if (count >= 0)
            return count;
        if (errno != EINTR)
            throw platform_error(errno, from.url);
    }
}

void write_all(const OpenFile& to, const char* bytes, std::int64_t size, std::int64_t offset)
{
    while (size > 0) {
        const ssize_t count = ::pwrite(to.fd, bytes, static_cast<std::size_t>(size), offset);
        if (count < 0 && errno != EINTR)
            throw platform_error(errno, to.url);
        if (count > 0) {
            bytes += count;
            size -= count;
            offset += count;
        }
    }
}

/// Where the next data at or after `offset` begins; no value when only a hole follows.
std::optional<std::int64_t> next_data(const OpenFile& from, std::int64_t offset)
{
    const off_t begin = ::lseek(from.fd, offset, SEEK_DATA);
    if (begin >= 0)
        return begin;
    if (errno == ENXIO)
        return std::nullopt;
    if (is_unsupported(errno))
        return offset;
    throw platform_error(errno, from.url);
}

std::int64_t size_now(const OpenFile& file)
{
    struct stat status {};
    if (::fstat(file.fd, &status) != 0)
        throw platform_error(errno, file.url);
    return status.st_size;
}

std::int64_t next_hole(const OpenFile& from, std::int64_t offset, std::int64_t size)
{
    const off_t end = ::lseek(from.fd, offset, SEEK_HOLE);
    if (end < 0 && !is_unsupported(errno) && errno != ENXIO)
        throw platform_error(errno, from.url);
    return end > offset ? std::min<std::int64_t>(end, size) : size;
}

} // namespace

void FileContent::copy(const OpenFile& from, const OpenFile& to, const struct stat& status,
                       Step step)
{
    if (status.st_size == 0)
        copy_unsized(from, to, step);
    else if (cloned(from.fd, to.fd))
        step(status.st_size);
    else if (status.st_blocks < status.st_size / block_size)
        copy_with_holes(from, to, status.st_size, step);
    else
        copy_range(from, to, {0, status.st_size}, step);
}

/// Lets both files share their blocks, where the file system can.
bool FileContent::cloned(int from, int to)
{
    if (!clones_ || chunk_pause_)
        return false;
    if (::ioctl(to, FICLONE, from) == 0)
        return true;
    clones_ = errno != EOPNOTSUPP && errno != EXDEV && errno != ENOTTY && errno != ENOSYS;
    return false;
}

void FileContent::copy_with_holes(const OpenFile& from, const OpenFile& to, std::int64_t size,
                                  Step step)
{
    std::int64_t done = 0;
    while (done < size) {
        const auto begin = next_data(from, done);
        if (!begin || *begin >= size) {
            done = std::clamp(size_now(from), done, size); // it may have shrunk in the hole
            break;
        }
        const std::int64_t end = next_hole(from, *begin, size);
        done = copy_range(from, to, {*begin, end}, step);
        if (done < end) // the file has shrunk
            break;
    }
    if (::ftruncate(to.fd, done) != 0)
        throw platform_error(errno, to.url);
    step(done);
}

/// Copies a range without holes. Returns where the data ended.
std::int64_t FileContent::copy_range(const OpenFile& from, const OpenFile& to, Range range,
                                     Step step)
{
    std::int64_t done = range.begin;
    while (done < range.end) {
        const std::int64_t count = moves_in_kernel_ && !chunk_pause_
                                       ? move_in_kernel(from, to, {done, range.end})
                                       : move_through_buffer(from, to, {done, range.end});
        if (count == 0)
            break;
        done += count;
        step(done);
        pause_after_chunk();
    }
    return done;
}

/// One step of a range; returns the bytes moved, 0 at the end of the file.
std::int64_t FileContent::move_in_kernel(const OpenFile& from, const OpenFile& to, Range range)
{
    off_t source = range.begin;
    off_t target = range.begin;
    const std::int64_t wanted = std::min(range.end - range.begin, kernel_call_size);
    const ssize_t count =
        ::copy_file_range(from.fd, &source, to.fd, &target, static_cast<std::size_t>(wanted), 0);
    if (count > 0)
        return count;
    if (count < 0 && !is_unsupported(errno) && errno != EINTR)
        throw platform_error(errno, errno == EIO ? from.url : to.url);
    // Some file systems report the end of a file that has content: only reading tells.
    moves_in_kernel_ = count == 0 || errno == EINTR;
    return move_through_buffer(from, to, range);
}

std::int64_t FileContent::move_through_buffer(const OpenFile& from, const OpenFile& to, Range range)
{
    buffer_.resize(chunk_size);
    const std::int64_t wanted = std::min(range.end - range.begin, chunk_size);
    const std::int64_t count = read_some(from, buffer_.data(), wanted, range.begin);
    write_all(to, buffer_.data(), count, range.begin);
    return count;
}

void FileContent::pause_after_chunk() const
{
    if (chunk_pause_)
        std::this_thread::sleep_for(*chunk_pause_);
}

/// Copies a file that states no size: an empty one, or one that the system makes up as it is read.
/// One that has a size by now was empty and grows; what it grows by is no part of it.
void FileContent::copy_unsized(const OpenFile& from, const OpenFile& to, Step step)
{
    constexpr auto no_end = std::numeric_limits<std::int64_t>::max();
    std::int64_t done = 0;
    while (const std::int64_t count = move_through_buffer(from, to, {done, no_end})) {
        done += count;
        if (size_now(from) != 0)
            break;
        step(done);
        pause_after_chunk();
    }
}

} // namespace orv
