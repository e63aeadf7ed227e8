#pragma once

#include <string_view>

namespace orv {

/// Whether a folder whose name has the extension `ext`, in whatever case, is shown as one file.
///
/// Threading: any.
[[nodiscard]] bool is_package_extension(std::string_view ext);

} // namespace orv
