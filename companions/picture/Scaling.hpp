#pragma once

#include <orv/picture/Picture.hpp>

#include <cstdint>

namespace orv::picture {

/// Whether a picture of that size may be made.
[[nodiscard]] constexpr bool is_within_bounds(std::uint64_t width, std::uint64_t height)
{
    return width <= Picture::max_side && height <= Picture::max_side &&
           width * height <= Picture::max_pixels;
}

/// The picture stretched to a size that is within bounds and not empty: where it shrinks, each new
/// pixel is the mean of the area that it covers, where it grows, neighbours are blended. What is
/// transparent lends its colour to nothing.
[[nodiscard]] Picture scaled(const Picture& picture, std::uint32_t width, std::uint32_t height);

} // namespace orv::picture
