#pragma once

#include "picture/ThumbnailSize.hpp"

#include <cstddef>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace orv::picture {

/// A key and a value each.
using PngTexts = std::vector<std::pair<std::string, std::string>>;

/// A PNG picture with the texts as its first text fields.
///
/// Errors: an `Error` when a text is not ASCII, or its key not of 1 to 79 characters.
[[nodiscard]] std::vector<std::byte> with_png_texts(std::vector<std::byte> png,
                                                    const PngTexts& texts);

/// The plain text fields of a PNG picture, in order, from any beginning of the file. Leaves
/// compressed ones out. Bytes of anything else have none.
[[nodiscard]] PngTexts png_texts(std::span<const std::byte> png);

/// The size in the header of a PNG picture; its beginning is enough. Bytes of anything else have
/// none.
[[nodiscard]] PictureSize png_size(std::span<const std::byte> png);

} // namespace orv::picture
