#include "picture/ThumbnailSize.hpp"

#include "picture/Scaling.hpp"

#include <algorithm>
#include <limits>

namespace orv {
namespace {

/// A side in whole pixels, at least one. Pictures can be a million times as wide as high, and a
/// request can ask for a side of four billion pixels.
std::uint32_t whole_pixels(float side)
{
    constexpr auto longest = std::numeric_limits<std::uint32_t>::max();
    if (side < 1)
        return 1;
    return side < static_cast<float>(longest) ? static_cast<std::uint32_t>(side) : longest;
}

/// One side of a picture whose other side shrinks or grows by `part` of `whole`.
std::uint32_t in_proportion(std::uint32_t side, std::uint32_t part, std::uint32_t whole)
{
    const std::uint64_t rounded = (std::uint64_t{side} * part + whole / 2) / whole;
    return std::max(static_cast<std::uint32_t>(rounded), 1U);
}

bool may_enlarge(SizeWanted wanted)
{
    return wanted.delivery == Delivery::shared_of_any_size;
}

PictureSize size_in_square(PictureSize full, std::uint32_t side, SizeWanted wanted)
{
    return size_within(full, {side, side}, may_enlarge(wanted));
}

} // namespace

PictureSize thumbnail_size(PictureSize full, SizeWanted wanted)
{
    if (!wanted.width && !wanted.height)
        return full;
    if (wanted.width && wanted.height && wanted.fit != Fit::stretched)
        return size_within(full, {*wanted.width, *wanted.height}, wanted.fit == Fit::filling);
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

std::span<const std::uint32_t> shared_sides_for(SizeWanted wanted)
{
    const std::span<const std::uint32_t> sides(shared_sides);
    const std::uint32_t longest = std::max(wanted.width.value_or(0), wanted.height.value_or(0));
    if (wanted.delivery == Delivery::thumbnail || longest == 0)
        return {};
    const auto first = std::ranges::lower_bound(sides, longest);
    return sides.subspan(static_cast<std::size_t>(first - sides.begin()));
}

PictureSize size_within(PictureSize full, PictureSize box, bool may_enlarge)
{
    const bool has_room = full.width <= box.width && full.height <= box.height;
    if (full.width == 0 || full.height == 0 || (has_room && !may_enlarge))
        return full;
    if (std::uint64_t{full.width} * box.height >= std::uint64_t{full.height} * box.width)
        return {box.width, in_proportion(full.height, box.width, full.width)};
    return {in_proportion(full.width, box.height, full.height), box.height};
}

bool shows_enough(PictureSize kept, std::optional<PictureSize> full, SizeWanted wanted)
{
    if (kept == full && !may_enlarge(wanted))
        return true;
    // Programs round the shorter side of their shared thumbnails up or down.
    const PictureSize size = thumbnail_size(full.value_or(kept), wanted);
    const bool is_covered = size.width <= kept.width + 1 && size.height <= kept.height + 1;
    return is_covered && std::max(size.width, size.height) <= std::max(kept.width, kept.height);
}

std::optional<std::uint32_t> shared_side(PictureSize full, SizeWanted wanted)
{
    for (const std::uint32_t side : shared_sides_for(wanted))
        if (shows_enough(size_in_square(full, side, wanted), full, wanted))
            return side;
    return std::nullopt;
}

PictureSize delivered_size(PictureSize full, SizeWanted wanted)
{
    const bool has_size = full.width > 0 && full.height > 0;
    if (const auto side = has_size ? shared_side(full, wanted) : std::nullopt)
        return size_in_square(full, *side, wanted);
    const PictureSize size = thumbnail_size(full, wanted);
    const bool can_be =
        size.width > 0 && size.height > 0 && picture::is_within_bounds(size.width, size.height);
    return can_be ? size : full;
}

} // namespace orv
