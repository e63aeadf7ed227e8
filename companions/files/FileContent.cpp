#include "files/FileContent.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <span>
#include <thread>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace orv {
namespace {

// Network volumes and FUSE charge per call, so a call moves more than their usual 128 KiB.
// Cancellation and progress stand between the calls, so a call must stay far below a second.
constexpr std::int64_t buffer_size = 512 << 10;
constexpr std::int64_t test_mode_chunk = 102'400;
constexpr std::int64_t kernel_call_size = 8 << 20;
constexpr std::int64_t block_size = 512; // the unit of st_blocks

/// True if a call failed because it does not fit these files, and another way may succeed. ETXTBSY:
/// one of them is a swap file or a running program. EBADF: a volume that reads no file during a
/// write to it.
bool is_unsupported(int code)
{
    return code == EOPNOTSUPP || code == ENOSYS || code == EXDEV || code == EINVAL ||
           code == ENOTTY || code == EPERM || code == ETXTBSY || code == EBADF;
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
        const auto begin = leaves_holes_ ? next_data(from, done) : done;
        if (!begin || *begin >= size) {
            done = std::clamp(size_now(from), done, size); // it may have shrunk in the hole
            break;
        }
        const std::int64_t end = leaves_holes_ ? next_hole(from, *begin, size) : size;
        done = copy_after_hole(from, to, done, {*begin, end}, step);
        if (done < end) // the file has shrunk
            break;
    }
    set_size(from, to, done);
    step(done);
}

/// Copies a range behind a hole from `done` on. An append-only volume refuses the hole and gets the
/// zeros instead.
std::int64_t FileContent::copy_after_hole(const OpenFile& from, const OpenFile& to,
                                          std::int64_t done, Range range, Step step)
{
    try {
        return copy_range(from, to, range, step);
    } catch (const Error& error) {
        const bool appends_only = range.begin > done && error.path() == to.url && error.code() &&
                                  (is_unsupported(*error.code()) || *error.code() == ESPIPE);
        if (!appends_only)
            throw;
    }
    leaves_holes_ = false;
    return copy_range(from, to, {done, range.end}, step);
}

/// Lets a file end with a hole. Where the volume refuses to lengthen a file, it gets the zeros.
void FileContent::set_size(const OpenFile& from, const OpenFile& to, std::int64_t size)
{
    const std::int64_t end = size_now(to);
    if (end == size || ::ftruncate(to.fd, size) == 0)
        return;
    if (end > size)
        throw platform_error(errno, to.url);
    copy_range(from, to, {end, size}, [](std::int64_t) {});
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
    // Some file systems report the end of a file with content: only reading shows it.
    moves_in_kernel_ = count == 0 || errno == EINTR;
    return move_through_buffer(from, to, range);
}

std::int64_t FileContent::move_through_buffer(const OpenFile& from, const OpenFile& to, Range range)
{
    const std::int64_t wanted =
        std::min(range.end - range.begin, chunk_pause_ ? test_mode_chunk : buffer_size);
    // A buffer that grows on demand spares small files the page faults of a large one.
    if (buffer_.size() < static_cast<std::size_t>(wanted))
        buffer_.resize(static_cast<std::size_t>(wanted));
    const std::span part(buffer_.data(), static_cast<std::size_t>(wanted));
    const std::size_t count = read_some(from, part, range.begin);
    write_all(to, part.first(count), range.begin);
    return static_cast<std::int64_t>(count);
}

void FileContent::pause_after_chunk() const
{
    if (chunk_pause_)
        std::this_thread::sleep_for(*chunk_pause_);
}

/// Copies a file without a stated size: an empty one, or one the system generates during reads. A
/// file with a size by now was empty and grows; its growth is no part of it.
void FileContent::copy_unsized(const OpenFile& from, const OpenFile& to, Step step)
{
    constexpr std::int64_t part = 64 << 10; // most such files are empty and need no large buffer
    std::int64_t done = 0;
    while (const std::int64_t count = move_through_buffer(from, to, {done, done + part})) {
        done += count;
        if (size_now(from) != 0)
            break;
        step(done);
        pause_after_chunk();
    }
}

} // namespace orv
