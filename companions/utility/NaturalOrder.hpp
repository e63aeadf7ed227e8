#pragma once

#include <string>
#include <string_view>

namespace orv {

/// `text` as it is compared in natural order: like `fold_key`, but a number in it counts by its
/// value, whatever its length and whichever script its digits are of. Numbers stand where digits
/// do. Of texts that differ in leading zeros only, that with fewer zeros comes first.
///
/// Threading: any.
[[nodiscard]] std::string natural_key(std::string_view text);

} // namespace orv
