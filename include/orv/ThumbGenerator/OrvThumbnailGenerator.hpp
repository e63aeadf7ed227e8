#pragma once

#include <orv/picture/Picture.hpp>
#include <orv/utility/InstalledHeaders.hpp>
#include <orv/utility/Url.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orv {

/// A picture of a file's content, and the upright size of the whole; the picture may be smaller.
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
/// A generator without a picture of a file throws, or returns the picture of
/// `DefaultThumbnailGenerator`; the placeholder follows.
///
/// Threading: called on background threads, by several at once.
class OrvThumbnailGenerator {
public:
    OrvThumbnailGenerator() = default;
    virtual ~OrvThumbnailGenerator() = default;
    OrvThumbnailGenerator(const OrvThumbnailGenerator&) = delete;
    OrvThumbnailGenerator& operator=(const OrvThumbnailGenerator&) = delete;

    /// The file extensions it serves, without the dot.
    [[nodiscard]] virtual std::vector<std::string> supportedExtensions() const = 0;

    /// The picture of the file at `url`, in its own size.
    [[nodiscard]] virtual Picture getThumbnail(const Url& url) const = 0;

    /// A picture of the file for a thumbnail of the given size, for generators with a fast way to
    /// small pictures. `OrvThumbnail` calls this function. The picture may have any size; the
    /// thumbnail is scaled from it. The default calls `getThumbnail`.
    [[nodiscard]] virtual Preview preview(const Url& url, std::optional<std::uint32_t> resize_width,
                                          std::optional<std::uint32_t> resize_height) const;
};

} // namespace orv
