#pragma once

#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/Url.hpp>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace orv {

/// An open regular file, and its location for errors.
struct OpenFile {
    int fd;
    const Url& url;
};

/// Writes all of `bytes` at `offset`.
///
/// Errors: the platform's, at the file; ENOSPC if the volume takes nothing any more.
void write_all(const OpenFile& file, std::span<const std::byte> bytes, std::int64_t offset);
void write_all(const OpenFile& file, std::string_view text, std::int64_t offset);

/// Reads up to `buffer.size()` bytes at `offset`. Returns their number, 0 at the end of the file.
///
/// Errors: the platform's, at the file.
[[nodiscard]] std::size_t read_some(const OpenFile& file, std::span<std::byte> buffer,
                                    std::int64_t offset);

/// True if both files hold the same bytes. Calls `poll` now and then; an exception from it ends the
/// comparison.
///
/// Errors: the platform's, at the unreadable file.
[[nodiscard]] bool has_same_content(const OpenFile& one, const OpenFile& other,
                                    FunctionRef<void()> poll);

} // namespace orv
