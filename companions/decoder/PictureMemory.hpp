#pragma once

#include "picture/ThumbnailSize.hpp"

#include <cstdint>

#include <vips/vips8>

namespace orv::decoder {

/// The memory that libvips takes, at most, to read a picture of which only the header was read, and
/// to make one of `delivered` of it. Most formats are read row by row; some only as a whole.
///
/// Units: bytes.
[[nodiscard]] std::uint64_t memory_for(const vips::VImage& header, PictureSize delivered);

} // namespace orv::decoder
