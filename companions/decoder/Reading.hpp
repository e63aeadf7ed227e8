#pragma once

#include "picture/Decoder.hpp"

namespace orv::decoder {

// What the programs differ in; each is linked with one implementation of these.

/// Loads and opens all that reading files of the medium needs: later, nothing can be opened.
///
/// Errors: an `Error` when something is missing.
void prepare_reading(Medium medium);

/// What `decode_picture` promises, in this process: the file may do its worst.
///
/// Errors: an `Error` that says why there is no picture.
[[nodiscard]] DecodedPicture read_picture(int file, Medium medium, SizeWanted wanted);

} // namespace orv::decoder
