#pragma once

#include "picture/ThumbnailSize.hpp"

#include <cstdint>

#include <vips/vips8>

namespace orv::decoder {

/// The memory libvips takes, at most, to read a picture with only its header read, and to make one
/// of `delivered` from it. It reads most formats row by row, some only as a whole.
///
/// Units: bytes.
[[nodiscard]] std::uint64_t memory_for(const vips::VImage& header, PictureSize delivered);

} // namespace orv::decoder
