#pragma once

#include <cstddef>
#include <span>

namespace orv {

/// The placeholder for thumbnails as a PNG file, which the build puts into the library.
[[nodiscard]] std::span<const std::byte> placeholder_png();

} // namespace orv
