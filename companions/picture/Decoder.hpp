#pragma once

#include "picture/ThumbnailSize.hpp"

#include <orv/picture/Picture.hpp>
#include <orv/utility/Url.hpp>

#include <cstdint>
#include <stop_token>

namespace orv {

/// The kinds of files with a picture.
enum class Medium : std::uint8_t { image, pdf_page, film_frame, drawing };

/// A picture, and the upright size of its original; the picture may be smaller.
struct DecodedPicture {
    Picture picture;
    PictureSize full_size;
};

/// Makes a picture from the file, in a helper process, safe from any content. The picture has
/// `delivered_size(full_size, wanted)`, is upright, and in sRGB. The content decides, not the name.
/// Of an animation it is the first picture. Of a PDF it is the first page, with a full size of 240
/// points in width, and so it is with a vector drawing; of a film the frame at a third of its
/// duration (or the latest one before it, if decoding takes longer than three seconds of processor
/// time), or the cover if it has no pictures of its own.
///
/// Threading: any background thread; waits for a free helper, and then for the picture, for as long
/// as the helper computes (up to ten seconds of processor time), waits for a core or reads. It
/// gives up a hung helper after twenty seconds.
/// Cancel: `stop` ends the waiting at once, with an `Exception`.
/// Errors: an `Error` with the reason for a missing picture, and the path: no such file, not of
/// that medium, damaged, encrypted, too large, too slow, or no helper.
[[nodiscard]] DecodedPicture decode_picture(const Url& file, Medium medium, SizeWanted wanted,
                                            const std::stop_token& stop = {});

} // namespace orv
