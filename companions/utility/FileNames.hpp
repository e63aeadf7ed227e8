#pragma once

#include <cstddef>
#include <string_view>

namespace orv {

/// The longest name of a file, in bytes.
///
/// Units: bytes.
inline constexpr std::size_t max_name_size = 255;

/// A name in two: "archive.tar.gz" has the title "archive.tar" and the extension "gz".
struct NameParts {
    std::string_view title;
    std::string_view ext;
};

/// Splits `name` at its last dot. A name without a dot, with the dot at its end, or a hidden name
/// such as ".profile" is all title. The parts point into `name`.
[[nodiscard]] NameParts name_parts(std::string_view name);

} // namespace orv
