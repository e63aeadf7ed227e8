#pragma once

#include "archive/Zip.hpp"

#include <optional>
#include <string>

namespace orv::archive {

/// How the items of an archive are written.
struct PackingStyle {
    ZipCompression compression;
    std::optional<std::string> password;
};

} // namespace orv::archive
