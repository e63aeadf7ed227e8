#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace orv::decoder {

/// A document of the PDF's first page alone, with the whole medium in view. None if the page shows
/// it anyhow, or if the PDF is too damaged to tell.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> uncropped_page(const std::uint8_t* pdf,
                                                                      std::size_t size);

} // namespace orv::decoder
