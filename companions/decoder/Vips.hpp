#pragma once

#include "picture/Decoder.hpp"

#include <vips/vips8>

namespace orv::decoder {

/// Starts libvips: one picture at a time, on one thread, with nothing kept.
void start_vips();

/// Loads the parts of libvips for the medium; it keeps most of them in modules.
void load_modules(Medium medium);

/// Lets libvips read the medium, and nothing else.
void allow_loaders(Medium medium);

/// The picture in exactly `size`, in the layout of a `Picture`.
[[nodiscard]] Picture finished(vips::VImage image, PictureSize size);

/// Why libvips failed.
[[nodiscard]] std::string reason_of(const vips::VError& error);

} // namespace orv::decoder
