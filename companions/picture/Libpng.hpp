#pragma once

#include "utility/LoadedLater.hpp"

#include <png.h>

namespace orv::picture {

/// The file name of libpng that this library was built for.
extern const char libpng_file[];

// Loaded with the first call. Callers in this namespace find these before the functions themselves.
inline constinit const LoadedLater<decltype(::png_image_begin_read_from_memory)>
    png_image_begin_read_from_memory{libpng_file, "png_image_begin_read_from_memory"};
inline constinit const LoadedLater<decltype(::png_image_finish_read)> png_image_finish_read{
    libpng_file, "png_image_finish_read"};
inline constinit const LoadedLater<decltype(::png_image_free)> png_image_free{libpng_file,
                                                                              "png_image_free"};
inline constinit const LoadedLater<decltype(::png_image_write_to_memory)> png_image_write_to_memory{
    libpng_file, "png_image_write_to_memory"};

} // namespace orv::picture
