#include "picture/ThumbnailSize.hpp"

#include "picture/Scaling.hpp"

#include <limits>

namespace orv {
namespace {

/// A side as whole pixels, at least one. Pictures can be a million times as wide as high, and a
/// side can be asked for four billion pixels long.
std::uint32_t whole_pixels(float side)
{
    constexpr auto longest = std::numeric_limits<std::uint32_t>::max();
    if (side < 1)
        return 1;
    return side < static_cast<float>(longest) ? static_cast<std::uint32_t>(side) : longest;
}

} // namespace

PictureSize thumbnail_size(PictureSize full, SizeWanted wanted)
{
    if (!wanted.width && !wanted.height)
        return full;
    if (wanted.width && wanted.height)
        return {*wanted.width, *wanted.height};
    if (full.width == 0 || full.height == 0)
        return {wanted.width.value_or(0), wanted.height.value_or(0)};
    const float ratio = static_cast<float>(full.width) / static_cast<float>(full.height);
    const auto side = static_cast<float>(wanted.width ? *wanted.width : *wanted.height);
    if (side == 0)
        return {0, 0};
    if (wanted.width)
        return {*wanted.width, whole_pixels(side / ratio)};
    return {whole_pixels(side * ratio), *wanted.height};
}

PictureSize delivered_size(PictureSize full, SizeWanted wanted)
{
    const PictureSize size = thumbnail_size(full, wanted);
    const bool can_be =
        size.width > 0 && size.height > 0 && picture::is_within_bounds(size.width, size.height);
    return can_be ? size : full;
}

} // namespace orv
