#pragma once

#include "decoder/FilmInput.hpp"

namespace orv::decoder {

/// The frame on screen at `time`. If the first frame comes later, the first one; if the film ends
/// before, the last one; if decoding up to it takes more than three seconds of processor time, the
/// latest one before it.
///
/// Errors: an `Error` if no frame can be decoded.
[[nodiscard]] Frame frame_at(FilmInput& input, const AVStream& stream, std::int64_t time);

/// The cover in `stream`.
[[nodiscard]] Frame cover(const AVStream& stream);

} // namespace orv::decoder
