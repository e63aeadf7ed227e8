#pragma once

#include <orv/picture/Picture.hpp>

#include <cstddef>
#include <span>
#include <vector>

namespace orv::picture {

/// The promises of `Picture::png` and `Picture::from_png`, without texts.
[[nodiscard]] std::vector<std::byte> encode_png(const Picture& picture);
[[nodiscard]] Picture decode_png(std::span<const std::byte> bytes);

} // namespace orv::picture
