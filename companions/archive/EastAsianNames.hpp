#pragma once

#include <string>
#include <vector>

namespace orv::archive {

/// The most probable East Asian encoding of all names together, by its name in ICU; null if they
/// look like none.
[[nodiscard]] const char* guess_east_asian_encoding(const std::vector<std::string*>& names);

} // namespace orv::archive
