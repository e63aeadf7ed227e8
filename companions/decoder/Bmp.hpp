#pragma once

#include <orv/picture/Picture.hpp>

#include <cstdint>
#include <span>

namespace orv::decoder {

/// Loads the reader of BMP pictures.
void prepare_bmp();

[[nodiscard]] bool is_bmp(std::span<const std::uint8_t> bytes);

/// The memory for `read_bmp`, at most; 0 for a file it refuses at once. Units: bytes.
[[nodiscard]] std::uint64_t memory_for_bmp(std::span<const std::uint8_t> bytes);

/// The BMP picture in its own size.
///
/// Errors: an `Error` when the bytes hold no whole BMP picture, or one out of bounds.
[[nodiscard]] Picture read_bmp(std::span<const std::uint8_t> bytes);

} // namespace orv::decoder
