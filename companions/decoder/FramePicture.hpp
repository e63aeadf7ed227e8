#pragma once

#include "decoder/Ffmpeg.hpp"
#include "picture/Decoder.hpp"

#include <array>

namespace orv::decoder {

/// How a film is turned: where one step to the right and one step down in its frames lead.
struct Turn {
    std::array<int, 2> right{1, 0};
    std::array<int, 2> down{0, 1};
};

/// How the stream says that it is to be shown, to right angles.
[[nodiscard]] Turn turn_of(const AVStream& stream);

/// The frame turned upright, its pixels made square and its colours sRGB.
///
/// Errors: an `Error` when its colours are of a kind that cannot be converted.
[[nodiscard]] DecodedPicture picture_of(const AVFrame& frame, AVRational pixel_shape, Turn turn,
                                        SizeWanted wanted);

} // namespace orv::decoder
