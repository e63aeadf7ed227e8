#pragma once

#include <string_view>

namespace orv {

/// True if a folder with the extension `ext`, in any case, counts as one file.
///
/// Threading: any.
[[nodiscard]] bool is_package_extension(std::string_view ext);

} // namespace orv
