#pragma once

#include <string>
#include <vector>

namespace orv::archive {

/// Code page 437, by its name in ICU.
inline constexpr const char* encoding_of_the_format = "ibm-437";

/// The most probable encoding of all names together, by its name in ICU. None of the names is
/// UTF-8.
[[nodiscard]] const char* guess_encoding(const std::vector<std::string*>& names);

} // namespace orv::archive
