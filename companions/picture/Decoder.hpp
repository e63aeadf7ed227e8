#pragma once

#include "picture/ThumbnailSize.hpp"

#include <orv/picture/Picture.hpp>
#include <orv/utility/Url.hpp>

#include <cstdint>
#include <stop_token>

namespace orv {

/// What a picture can be made from.
enum class Medium : std::uint8_t { image, pdf_page, film_frame };

/// A picture, and the size (upright) of what it was made from: the picture may be smaller.
struct DecodedPicture {
    Picture picture;
    PictureSize full_size;
};

/// Makes a picture from the file, in a helper process: what the file holds cannot harm this one.
/// The picture has `delivered_size(full_size, wanted)`, is upright, and in sRGB. What the file
/// holds counts, not its name. Of an animation it is the first picture. Of a PDF it is the first
/// page, whose full size is 240 points in width; of a film the frame at a third of its duration
/// (where decoding up to it takes longer than three seconds of processor time, the last one before
/// it), or the cover where it has no pictures of its own.
///
/// Threading: any background thread; waits for a helper that is free, and then for the picture, for
/// as long as the helper computes (up to ten seconds of processor time), waits for a core or reads.
/// One that hangs is given up after twenty seconds.
/// Cancel: `stop` ends the waiting at once, with an `Exception`.
/// Errors: an `Error` that says why there is no picture, with the path: no such file, not of that
/// medium, damaged, encrypted, too large, too slow, or no helper.
[[nodiscard]] DecodedPicture decode_picture(const Url& file, Medium medium, SizeWanted wanted,
                                            const std::stop_token& stop = {});

} // namespace orv
