#pragma once

#include "picture/ThumbnailSize.hpp"

#include <cstdint>
#include <memory>
#include <span>

namespace orv::decoder {

[[nodiscard]] bool is_bmp(std::span<const std::uint8_t> bytes);

/// A BMP picture in its own size.
struct Bmp {
    PictureSize size;
    std::unique_ptr<std::uint8_t, void (*)(void*)> rgba;
};

/// Errors: an `Error` when the bytes hold no whole BMP picture, or one out of bounds.
[[nodiscard]] Bmp read_bmp(std::span<const std::uint8_t> bytes);

} // namespace orv::decoder
