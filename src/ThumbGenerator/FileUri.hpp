#pragma once

#include <orv/utility/Url.hpp>

#include <string>

namespace orv {

/// The URI desktop programs give the file, to the letter: it is the key of their shared thumbnails.
[[nodiscard]] std::string file_uri(const Url& file);

} // namespace orv
