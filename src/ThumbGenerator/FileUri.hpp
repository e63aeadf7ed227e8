#pragma once

#include <orv/utility/Url.hpp>

#include <string>

namespace orv {

/// The URI that desktop programs give the file, to the letter: their shared thumbnails are found by
/// it.
[[nodiscard]] std::string file_uri(const Url& file);

} // namespace orv
