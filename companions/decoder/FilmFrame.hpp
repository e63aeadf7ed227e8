#pragma once

#include "decoder/FilmInput.hpp"

namespace orv::decoder {

/// The frame that is shown at `time`; where the first one is shown later, that; where the film ends
/// before it, the
/// last one; where decoding up to it takes more than three seconds of processor time, the last one
/// before it.
///
/// Errors: an `Error` when no frame can be decoded.
[[nodiscard]] Frame frame_at(FilmInput& input, const AVStream& stream, std::int64_t time);

/// The cover that `stream` is.
[[nodiscard]] Frame cover(const AVStream& stream);

} // namespace orv::decoder
