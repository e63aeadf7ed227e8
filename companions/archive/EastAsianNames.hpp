#pragma once

#include <string>
#include <vector>

namespace orv::archive {

/// The East Asian encoding that all of the names together are most probably in, by its name in ICU;
/// null if they look like none of them.
[[nodiscard]] const char* guess_east_asian_encoding(const std::vector<std::string*>& names);

} // namespace orv::archive
