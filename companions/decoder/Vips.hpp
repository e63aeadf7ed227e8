#pragma once

#include "picture/Decoder.hpp"

#include <vips/vips8>

namespace orv::decoder {

/// Starts libvips; one picture is decoded at a time, by one thread, and none is kept.
void start_vips();

/// Loads what libvips needs to read the medium, most of which it keeps in modules.
void load_modules(Medium medium);

/// Lets libvips read the medium, and nothing else.
void allow_loaders(Medium medium);

/// The picture as exactly `size`, in the form that a `Picture` has.
[[nodiscard]] Picture finished(vips::VImage image, PictureSize size);

/// Why libvips failed.
[[nodiscard]] std::string reason_of(const vips::VError& error);

} // namespace orv::decoder
