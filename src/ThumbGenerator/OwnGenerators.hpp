#pragma once

#include "picture/Decoder.hpp"

#include <orv/ThumbGenerator/OrvThumbnailGenerator.hpp>

#include <optional>
#include <stop_token>

namespace orv {

/// What the generator decodes files as; none if it is not one of the library that decode.
[[nodiscard]] std::optional<Medium> medium_of(const OrvThumbnailGenerator& generator);

/// What `decode_picture` makes of a file. The reason why a film has no frame is printed, too.
///
/// Cancel: `stop` ends the waiting at once, with an `Exception`.
/// Errors: those of `decode_picture`.
[[nodiscard]] Preview decoded_preview(const Url& url, Medium medium, SizeWanted wanted,
                                      const std::stop_token& stop);

} // namespace orv
