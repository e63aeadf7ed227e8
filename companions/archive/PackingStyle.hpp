#pragma once

#include "archive/Zip.hpp"

#include <optional>
#include <string>

namespace orv::archive {

/// The way to write the items of an archive.
struct PackingStyle {
    ZipCompression compression;
    std::optional<std::string> password;
};

} // namespace orv::archive
