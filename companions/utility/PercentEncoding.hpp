#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orv {

/// `bytes` with every byte but letters, digits and those in `kept` written as "%" and two hex
/// digits.
[[nodiscard]] std::string percent_encoded(std::string_view bytes, std::string_view kept);

/// The bytes behind `text`. No value if a "%" lacks two hex digits.
[[nodiscard]] std::optional<std::string> percent_decoded(std::string_view text);

} // namespace orv
