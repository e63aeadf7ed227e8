#pragma once

#include <string>

namespace orv::bench {

// Each makes the folder at `path` with `count` files in it, the same in every run.

/// Photographs of 12 megapixels, as JPEG.
void make_photographs(const std::string& path, int count);

/// PDF books.
void make_books(const std::string& path, int count);

/// Films of 20 seconds in 1280 by 720, as H.264; by ffmpeg.
///
/// Errors: an `Error` when it is missing or fails.
void make_films(const std::string& path, int count);

} // namespace orv::bench
