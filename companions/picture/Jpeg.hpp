#pragma once

#include <orv/picture/Picture.hpp>

#include <cstddef>
#include <span>
#include <vector>

namespace orv::picture {

/// The promises of `Picture::jpeg` and `Picture::from_jpeg`.
[[nodiscard]] std::vector<std::byte> encode_jpeg(const Picture& picture, double quality);
[[nodiscard]] Picture decode_jpeg(std::span<const std::byte> bytes);

} // namespace orv::picture
