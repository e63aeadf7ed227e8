#pragma once

#include <string>

namespace orv::bench {

/// Measures the thumbnails of a window of 48 pictures, and a scroll through `count` pictures, in
/// new folders in `place`.
void measure_visible_pictures(const std::string& place, int count);

} // namespace orv::bench
