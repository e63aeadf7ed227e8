#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace orv::app {

/// The first character of a text.
struct Character {
    std::optional<char32_t> code_point; ///< none when the text begins with no valid UTF-8
    std::size_t length;                 ///< bytes; 1 when there is no code point
};

/// `text` is not empty.
[[nodiscard]] Character first_character(std::string_view text);

[[nodiscard]] bool is_control(char32_t code_point);

/// `bytes` in a form safe to show on a terminal, in one line: control characters and bytes outside
/// UTF-8 become escapes such as \n and \xff.
[[nodiscard]] std::string printable(std::string_view bytes);

/// How many columns a printable text takes on a terminal.
[[nodiscard]] std::size_t columns_of(std::string_view text);

/// The printable `text`, its end replaced by "…" when it takes more than `columns`.
[[nodiscard]] std::string cut_to(std::size_t columns, std::string_view text);

} // namespace orv::app
