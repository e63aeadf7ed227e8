#pragma once

#include "decoder/Ffmpeg.hpp"
#include "picture/Decoder.hpp"

#include <array>

namespace orv::decoder {

/// The orientation of a film: the directions of one step to the right and one step down in its
/// frames.
struct Turn {
    std::array<int, 2> right{1, 0};
    std::array<int, 2> down{0, 1};
};

/// The orientation the stream asks for, to right angles.
[[nodiscard]] Turn turn_of(const AVStream& stream);

/// The frame turned upright, its pixels made square and its colours sRGB.
///
/// Errors: an `Error` if its colours cannot be converted.
[[nodiscard]] DecodedPicture picture_of(const AVFrame& frame, AVRational pixel_shape, Turn turn,
                                        SizeWanted wanted);

} // namespace orv::decoder
