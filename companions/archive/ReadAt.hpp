#pragma once

#include "files/ReadWrite.hpp"

namespace orv::archive {

/// Reads from `position` on until `buffer` is full or the file ends. Returns the number of bytes.
///
/// Errors: the platform's, at `url`.
inline std::size_t read_at(int file, std::uint64_t position, std::span<std::byte> buffer,
                           const Url& url)
{
    std::size_t size = 0;
    while (size < buffer.size()) {
        const std::size_t count = read_some({file, url}, buffer.subspan(size),
                                            static_cast<std::int64_t>(position + size));
        if (count == 0)
            break;
        size += count;
    }
    return size;
}

} // namespace orv::archive
