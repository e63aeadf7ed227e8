#pragma once

#include "picture/Decoder.hpp"

#include <cstdint>

namespace orv::decoder {

// The differences between the programs; each links one implementation.

/// Loads and opens all files for the medium: later, no file can be opened.
///
/// Errors: an `Error` when something is missing.
void prepare_reading(Medium medium);

/// Reading a file takes more memory than allowed. Thrown before or during the reading.
struct MemoryNeeded {
    std::uint64_t bytes = 0;
};

/// The memory for a file, and if there is more on request.
struct MemoryAllowed {
    std::uint64_t bytes = 0;
    bool is_all = true;

    /// Throws `MemoryNeeded` if that is more than allowed and more is on request.
    void check(std::uint64_t needed) const
    {
        if (needed > bytes && !is_all)
            throw MemoryNeeded{needed};
    }
};

/// The promise of `decode_picture`, within this process: the file may do its worst.
///
/// Errors: an `Error` with the reason for a missing picture, or `MemoryNeeded`.
[[nodiscard]] DecodedPicture read_picture(int file, Medium medium, SizeWanted wanted,
                                          MemoryAllowed memory);

} // namespace orv::decoder
