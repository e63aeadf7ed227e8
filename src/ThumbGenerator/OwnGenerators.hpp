#pragma once

#include "picture/Decoder.hpp"

#include <orv/ThumbGenerator/OrvThumbnailGenerator.hpp>

#include <optional>
#include <stop_token>

namespace orv {

/// The kind of file the generator decodes; none for any but the library's decoding generators.
[[nodiscard]] std::optional<Medium> medium_of(const OrvThumbnailGenerator& generator);

/// The result of `decode_picture` for a file. Prints the reason if a film has no frame.
///
/// Cancel: `stop` ends the waiting at once, with an `Exception`.
/// Errors: those of `decode_picture`.
[[nodiscard]] Preview decoded_preview(const Url& url, Medium medium, SizeWanted wanted,
                                      const std::stop_token& stop);

} // namespace orv
