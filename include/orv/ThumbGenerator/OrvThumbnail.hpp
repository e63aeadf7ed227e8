#pragma once

#include <orv/ThumbGenerator/OrvThumbnailGenerator.hpp>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace orv {

/// Makes thumbnails with the generator that serves a file's extension, and keeps those made last.
///
/// Threading: any, several at a time, also while generators are added.
class OrvThumbnail {
public:
    using Generator = std::shared_ptr<const OrvThumbnailGenerator>;

    struct Thumbnail {
        Picture thumb = {};
        bool is_placeholder = false; ///< there is no picture of the file
    };

    /// The one registry, made on first use with the generators for pictures, PDFs and films.
    static OrvThumbnail& singleton();

    /// Registers the generator for all of its extensions, in place of those that served them.
    /// Extensions are matched whatever their case.
    ///
    /// Errors: an `Error` for a null pointer; nothing is registered then.
    void addThumbnailGenerator(const Generator& generator);

    /// The generators by the extension that they serve, in lower case.
    [[nodiscard]] std::map<std::string, Generator> supportedFiletypes() const;

    /// The JPEG quality of thumbnails, from 0 to 1. It is 1 at first; below that, each is encoded
    /// with it and decoded again, but for those that are larger than JPEG can hold.
    [[nodiscard]] double imageQuality() const;
    void set_image_quality(double quality);

    /// How much memory the thumbnails kept may take; 64 MiB at first, 0 keeps none. Those larger
    /// than an eighth of it are not kept.
    ///
    /// Units: bytes.
    void set_cache_size(std::size_t bytes);

    /// Whether thumbnails of a size asked for are also taken from, and put into, the folder that
    /// the programs of a desktop share, as the freedesktop thumbnail specification lays it out:
    /// "thumbnails" in `$XDG_CACHE_HOME` if that is absolute, else in ".cache" in the home folder.
    /// Off at first. The folder is looked up when it is turned on, so the locations must be
    /// configured before.
    ///
    /// It serves what the library's own generators make, in sizes up to 1024; an application's
    /// generators never see it. A file that was changed gets a new thumbnail. A folder that cannot
    /// be used is no error: thumbnails are then made each time.
    void use_shared_folder(bool use);

    /// The thumbnail of the file at `url`: with one side given, the other follows from the shape of
    /// the picture; with both, it is stretched; with none, it has its own size. A file that there
    /// is no picture of has the placeholder, in the size asked for. A thumbnail that was made
    /// before is not made again while the file stays as it is.
    ///
    /// Threading: as above; it works on the calling thread and may take as long as a slow disk
    /// does, so requests are better made with `generate_thumb`.
    /// Units: pixels.
    [[nodiscard]] Thumbnail getThumbnail(const Url& url, std::optional<std::uint32_t> resize_width,
                                         std::optional<std::uint32_t> resize_height);

private:
    friend class ThumbnailAccess;

    OrvThumbnail();
    ~OrvThumbnail() = delete;

    struct Content;
    std::unique_ptr<Content> content_;
};

} // namespace orv
