#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace orv::decoder {

/// A document of the first page of the PDF alone, which shows the whole medium; none where the page
/// shows it anyhow, or the PDF is in no order to tell.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> uncropped_page(const std::uint8_t* pdf,
                                                                      std::size_t size);

} // namespace orv::decoder
