#pragma once

#include <string>
#include <vector>

namespace orv {

/// Adds to the extensions of packages: a folder with one of them counts as one file.
///
/// Threading: any.
void add_package_extensions(const std::vector<std::string>& extensions);

} // namespace orv
