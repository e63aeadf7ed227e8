#include "files/ReadWrite.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <cerrno>
#include <vector>

#include <unistd.h>

namespace orv {

void write_all(const OpenFile& file, std::span<const std::byte> bytes, std::int64_t offset)
{
    while (!bytes.empty()) {
        const ssize_t count =
            ::pwrite(file.fd, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR)
            continue;
        // A volume that takes nothing and names no error would be asked for ever.
        if (count <= 0)
            throw platform_error(count < 0 ? errno : ENOSPC, file.url);
        bytes = bytes.subspan(static_cast<std::size_t>(count));
        offset += count;
    }
}

void write_all(const OpenFile& file, std::string_view text, std::int64_t offset)
{
    write_all(file, std::as_bytes(std::span(text)), offset);
}

std::size_t read_some(const OpenFile& file, std::span<std::byte> buffer, std::int64_t offset)
{
    for (;;) {
        const ssize_t count =
            ::pread(file.fd, buffer.data(), buffer.size(), static_cast<off_t>(offset));
        if (count >= 0)
            return static_cast<std::size_t>(count);
        if (errno != EINTR)
            throw platform_error(errno, file.url);
    }
}

bool has_same_content(const OpenFile& one, const OpenFile& other, FunctionRef<void()> poll)
{
    constexpr std::size_t part = 256 << 10;
    std::vector<std::byte> left(part);
    std::vector<std::byte> right(part);
    for (std::int64_t offset = 0;;) {
        poll();
        const std::size_t count = read_some(one, left, offset);
        if (count == 0)
            return read_some(other, right, offset) == 0;
        // Either of the two may give less than asked for at a time.
        const std::size_t got = read_some(other, std::span(right).first(count), offset);
        if (got == 0 || !std::equal(right.begin(), right.begin() + static_cast<std::ptrdiff_t>(got),
                                    left.begin()))
            return false;
        offset += static_cast<std::int64_t>(got);
    }
}

} // namespace orv
