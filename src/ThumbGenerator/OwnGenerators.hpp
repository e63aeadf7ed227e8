#pragma once

#include "picture/Decoder.hpp"

#include <orv/ThumbGenerator/OrvThumbnailGenerator.hpp>

#include <optional>

namespace orv {

/// What the generator decodes files as; none if it is not one of the library that decode.
[[nodiscard]] std::optional<Medium> medium_of(const OrvThumbnailGenerator& generator);

/// What those generators make of a file: `decode_picture`, or the placeholder where that fails.
///
/// Cancel: `stop` ends the waiting at once, with an `Exception`.
[[nodiscard]] Preview decoded_preview(const Url& url, Medium medium, SizeWanted wanted,
                                      const std::stop_token& stop = {});

} // namespace orv
