#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orv::archive {

[[nodiscard]] bool is_utf8(std::string_view text);

/// Turns names of an archive outside UTF-8 into UTF-8: from the most probable encoding of all of
/// them together, else from code page 437, the format's own.
void decode_names(const std::vector<std::string*>& names);

} // namespace orv::archive
