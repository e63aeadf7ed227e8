#pragma once

#include <orv/picture/Picture.hpp>
#include <orv/utility/InstalledHeaders.hpp>
#include <orv/utility/Url.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orv {

/// A picture of what a file holds, and the size of the whole, upright, that it shows: the picture
/// may be smaller.
///
/// Units: pixels.
struct Preview {
    Picture picture = {};
    std::uint32_t full_width = 0;
    std::uint32_t full_height = 0;
};

/// Makes pictures of the files of some kind. `OrvThumbnail` keeps the generators and makes
/// thumbnails with them; an application adds its own there.
///
/// A generator that has no picture of a file throws, or returns that of
/// `DefaultThumbnailGenerator`: the placeholder is shown.
///
/// Threading: called on background threads, by several at once.
class OrvThumbnailGenerator {
public:
    OrvThumbnailGenerator() = default;
    virtual ~OrvThumbnailGenerator() = default;
    OrvThumbnailGenerator(const OrvThumbnailGenerator&) = delete;
    OrvThumbnailGenerator& operator=(const OrvThumbnailGenerator&) = delete;

    /// The file extensions that it serves, without the dot.
    [[nodiscard]] virtual std::vector<std::string> supportedExtensions() const = 0;

    /// The picture of the file at `url`, in its own size.
    [[nodiscard]] virtual Picture getThumbnail(const Url& url) const = 0;

    /// A picture of the file for a thumbnail of the size given, for generators that make a small
    /// one faster than a large one; `OrvThumbnail` asks for pictures here. It may have any size:
    /// the thumbnail is scaled from it. Without an override it is that of `getThumbnail`.
    [[nodiscard]] virtual Preview preview(const Url& url, std::optional<std::uint32_t> resize_width,
                                          std::optional<std::uint32_t> resize_height) const;
};

} // namespace orv
