#pragma once

#include <orv/picture/Picture.hpp>

#include <cstdint>

namespace orv::picture {

/// True for an allowed size of a picture.
[[nodiscard]] constexpr bool is_within_bounds(std::uint64_t width, std::uint64_t height)
{
    return width <= Picture::max_side && height <= Picture::max_side &&
           width * height <= Picture::max_pixels;
}

/// The picture stretched to a size within bounds and not empty. Where it shrinks, each new pixel is
/// the mean of its area; where it grows, neighbours blend. Transparent pixels lend their colour to
/// nothing.
[[nodiscard]] Picture scaled(const Picture& picture, std::uint32_t width, std::uint32_t height);

} // namespace orv::picture
