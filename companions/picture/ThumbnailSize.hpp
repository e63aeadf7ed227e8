#pragma once

#include <cstdint>
#include <optional>

namespace orv {

/// Units: pixels.
struct PictureSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    friend bool operator==(const PictureSize&, const PictureSize&) = default;
};

/// The size that a thumbnail is wanted in: with one side given, the other follows from the shape of
/// the picture; with none, the picture's own size is wanted.
struct SizeWanted {
    std::optional<std::uint32_t> width;
    std::optional<std::uint32_t> height;
    friend bool operator==(const SizeWanted&, const SizeWanted&) = default;
};

/// The size of the thumbnail of a picture of the size `full` (the whole picture, upright).
/// No side of it is 0 unless it was asked for, or `full` has no size.
[[nodiscard]] PictureSize thumbnail_size(PictureSize full, SizeWanted wanted);

/// `thumbnail_size(full, wanted)`; where no picture can have that size, `full`.
[[nodiscard]] PictureSize delivered_size(PictureSize full, SizeWanted wanted);

} // namespace orv
