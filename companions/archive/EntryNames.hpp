#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orv::archive {

[[nodiscard]] bool is_utf8(std::string_view text);

/// Turns names from an archive that are no UTF-8 into UTF-8: from the encoding that all of them
/// together are most probably in, else from code page 437, the one of the format.
void decode_names(const std::vector<std::string*>& names);

} // namespace orv::archive
