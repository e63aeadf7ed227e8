#pragma once

#include <cstddef>
#include <span>

namespace orv {

/// The placeholder for thumbnails as a PNG file; the build puts it into the library.
[[nodiscard]] std::span<const std::byte> placeholder_png();

} // namespace orv
