#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace orv::decoder {

/// A document of the first page of the PDF alone, which shows the whole medium; none where the page
/// shows it anyhow, or the PDF is in no order to tell.
[[nodiscard]] std::optional<std::vector<std::uint8_t>>
uncropped_page(std::span<const std::uint8_t> pdf);

} // namespace orv::decoder
