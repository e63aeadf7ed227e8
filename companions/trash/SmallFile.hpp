#pragma once

#include "files/DestinationFolder.hpp"

#include <optional>
#include <string>

namespace orv {

/// The content of the file `name` in an open folder. No value if there is none, or something else:
/// no regular file, or one of more than a mebibyte. Anybody may have put it there.
///
/// Errors: the platform's.
[[nodiscard]] std::optional<std::string> small_file(const DestinationFolder& folder,
                                                    const char* name);

} // namespace orv
