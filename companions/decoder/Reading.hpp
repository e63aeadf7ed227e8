#pragma once

#include "picture/Decoder.hpp"

#include <cstdint>

namespace orv::decoder {

// What the programs differ in; each is linked with one implementation of these.

/// Loads and opens all that reading files of the medium needs: later, nothing can be opened.
///
/// Errors: an `Error` when something is missing.
void prepare_reading(Medium medium);

/// Reading a file takes more memory than it may. Thrown before it is read, or while.
struct MemoryNeeded {
    std::uint64_t bytes = 0;
};

/// What reading a file may take, and whether there is more to be had.
struct MemoryAllowed {
    std::uint64_t bytes = 0;
    bool is_all = true;

    /// Throws `MemoryNeeded` where that is more than allowed, and more can be had.
    void check(std::uint64_t needed) const
    {
        if (needed > bytes && !is_all)
            throw MemoryNeeded{needed};
    }
};

/// What `decode_picture` promises, in this process: the file may do its worst.
///
/// Errors: an `Error` that says why there is no picture, or `MemoryNeeded`.
[[nodiscard]] DecodedPicture read_picture(int file, Medium medium, SizeWanted wanted,
                                          MemoryAllowed memory);

} // namespace orv::decoder
