#pragma once

#include "picture/Decoder.hpp"

#include <vips/vips8>

namespace orv::decoder {

/// Starts libvips; one picture is decoded at a time, by one thread, and none is kept.
void start_vips();

/// Lets libvips read the medium, and nothing else; what it needs for that is loaded when it is
/// first needed, since most applications never do.
void allow_loaders(Medium medium, bool is_heif);

/// The picture as exactly `size`, in the form that a `Picture` has.
[[nodiscard]] Picture finished(vips::VImage image, PictureSize size);

/// Why libvips failed.
[[nodiscard]] std::string reason_of(const vips::VError& error);

} // namespace orv::decoder
