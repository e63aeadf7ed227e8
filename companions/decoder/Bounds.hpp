#pragma once

#include "picture/ThumbnailSize.hpp"

#include <orv/utility/Error.hpp>

#include <cstdint>

namespace orv::decoder {

#ifndef ORV_MOST_PIXELS
#define ORV_MOST_PIXELS 200'000'000
#endif

/// Refuses a picture that would take too long or too much memory. Call it before any decoding.
inline void check_bounds(PictureSize full)
{
    constexpr std::uint64_t most_pixels = ORV_MOST_PIXELS;
    if (full.width == 0 || full.height == 0)
        throw Error("The picture has no size.");
    if (std::uint64_t{full.width} * full.height > most_pixels)
        throw Error("The picture has more than 200 million pixels.");
}

} // namespace orv::decoder
