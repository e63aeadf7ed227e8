#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace orv {

/// Units: pixels.
struct PictureSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    friend bool operator==(const PictureSize&, const PictureSize&) = default;
};

/// The delivered picture: the thumbnail itself, or the shared picture it can be scaled from.
enum class Delivery : std::uint8_t {
    thumbnail,
    shared,
    shared_of_any_size, ///< a medium without a size of its own, such as a page: it may be enlarged
};

/// How a picture takes the two wanted sides.
enum class Fit : std::uint8_t {
    stretched, ///< it has exactly these sides
    within,    ///< it keeps its shape, has neither side longer, and is never enlarged
    filling,   ///< the same, and it is as large as that allows
};

/// The wanted size of a thumbnail. With one side given, the other follows from the shape of the
/// picture; with none, the picture keeps its own size.
struct SizeWanted {
    std::optional<std::uint32_t> width;
    std::optional<std::uint32_t> height;
    Delivery delivery = Delivery::thumbnail;
    Fit fit = Fit::stretched;
    friend bool operator==(const SizeWanted&, const SizeWanted&) = default;
};

/// The size of the thumbnail of a picture with the upright size `full`. No side of it is 0 unless
/// the request asked for 0, or `full` is empty.
[[nodiscard]] PictureSize thumbnail_size(PictureSize full, SizeWanted wanted);

/// Shared pictures fit into squares with these sides.
constexpr std::array<std::uint32_t, 4> shared_sides = {128, 256, 512, 1024};

/// The sides of the squares with enough detail for a thumbnail of the wanted size.
[[nodiscard]] std::span<const std::uint32_t> shared_sides_for(SizeWanted wanted);

/// A picture of the size `full` made to fit into a box, in its shape; enlarged if `may_enlarge`.
[[nodiscard]] PictureSize size_within(PictureSize full, PictureSize box, bool may_enlarge);

/// True if a shared picture of the size `kept` shows as much as the wanted thumbnail of the whole
/// can. If the size `full` of the whole is unknown, it has the same shape.
[[nodiscard]] bool shows_enough(PictureSize kept, std::optional<PictureSize> full,
                                SizeWanted wanted);

/// The smallest square whose shared picture shows enough; none where no square does.
[[nodiscard]] std::optional<std::uint32_t> shared_side(PictureSize full, SizeWanted wanted);

/// The size of the delivered picture: `thumbnail_size(full, wanted)`, or the size of a shared
/// picture if the caller wants one and it shows enough. Returns `full` for an impossible size.
[[nodiscard]] PictureSize delivered_size(PictureSize full, SizeWanted wanted);

} // namespace orv
