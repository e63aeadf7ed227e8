#pragma once

#include <string>
#include <string_view>

namespace orv {

/// A sort key of `text` in natural order: like `fold_key`, but a number in it counts by its value,
/// of any length and in the digits of any script. Numbers sort at the place of digits. Of texts
/// with different leading zeros only, the one with fewer zeros comes first.
///
/// Threading: any.
[[nodiscard]] std::string natural_key(std::string_view text);

} // namespace orv
