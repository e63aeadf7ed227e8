#pragma once

#include "archive/Deflate.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <cstdint>
#include <span>

#include <unistd.h>

namespace orv::archive {

/// Reads from `position` on until `buffer` is full or the file ends, and says how much that was.
///
/// Errors: the platform's, at `url`.
inline std::size_t read_at(int file, std::uint64_t position, std::span<std::byte> buffer,
                           const Url& url)
{
    std::size_t size = 0;
    while (size < buffer.size()) {
        const ssize_t bytes = ::pread(file, buffer.data() + size, buffer.size() - size,
                                      static_cast<off_t>(position + size));
        if (bytes < 0 && errno == EINTR)
            continue;
        if (bytes < 0)
            throw platform_error(errno, url);
        if (bytes == 0)
            break;
        size += static_cast<std::size_t>(bytes);
    }
    return size;
}

} // namespace orv::archive
