#pragma once

#include "picture/Decoder.hpp"

#include <orv/ThumbGenerator/OrvThumbnailGenerator.hpp>

#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

namespace orv {

/// The work of a generator of the library.
struct DecodedKind {
    Medium medium;
    bool prints_failures; ///< on standard error
};

/// The kind of file the generator decodes; none for any but the library's decoding generators.
[[nodiscard]] std::optional<DecodedKind> kind_of(const OrvThumbnailGenerator& generator);

/// The library's generators for formats beyond those of the registry's first ones.
[[nodiscard]] const std::vector<std::shared_ptr<const OrvThumbnailGenerator>>& further_generators();

/// The result of `decode_picture` for a file.
///
/// Cancel: `stop` ends the waiting at once, with an `Exception`.
/// Errors: those of `decode_picture`.
[[nodiscard]] Preview decoded_preview(const Url& url, DecodedKind kind, SizeWanted wanted,
                                      const std::stop_token& stop);

} // namespace orv
