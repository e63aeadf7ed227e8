#pragma once

#include <orv/ThumbGenerator/OrvThumbnailGenerator.hpp>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace orv {

/// Makes thumbnails with the generator for a file's extension, and keeps the latest ones.
///
/// Threading: any, several at a time, also during `addThumbnailGenerator`.
class OrvThumbnail {
public:
    using Generator = std::shared_ptr<const OrvThumbnailGenerator>;

    struct Thumbnail {
        Picture thumb = {};
        bool is_placeholder = false; ///< there is no picture of the file
    };

    /// The one registry, made on first use with the generators for pictures, PDFs and films.
    static OrvThumbnail& singleton();

    /// Registers the generator for all of its extensions, in place of earlier ones. Extensions
    /// match without regard to case.
    ///
    /// Errors: an `Error` for a null pointer; the registry stays as it was.
    void addThumbnailGenerator(const Generator& generator);

    /// Registers the library's generators for further formats, unless the application has
    /// registered its own: tif, webp, avif and svg; webm and mkv; mp3 and flac with a cover.
    /// `ThumbnailQueue` serves these formats in any case.
    void add_further_formats();

    /// The generators by extension, in lower case.
    [[nodiscard]] std::map<std::string, Generator> supportedFiletypes() const;

    /// The JPEG quality of thumbnails, from 0 to 1; 1 at first. Below 1 each thumbnail passes
    /// through JPEG at that quality, unless it is too large for the format.
    [[nodiscard]] double imageQuality() const;
    void set_image_quality(double quality);

    /// Memory for recent thumbnails, in bytes; 64 MiB at first, 0 keeps none. Thumbnails above an
    /// eighth of it are not kept.
    ///
    /// Units: bytes.
    void set_cache_size(std::size_t bytes);

    /// True if thumbnails of a requested size also come from, and go into, the folder the programs
    /// of a desktop share, as the freedesktop thumbnail specification lays it out: "thumbnails" in
    /// `$XDG_CACHE_HOME` if that is absolute, else in ".cache" in the home folder. Off at first.
    /// Configure the locations before you turn it on.
    ///
    /// It holds the results of the library's own generators, in sizes up to 1024; an application's
    /// generators never see it. A changed file gets a new thumbnail. An unusable folder is no
    /// error: every thumbnail is then made anew.
    void use_shared_folder(bool use);

    /// The thumbnail of the file at `url`. With one side given, the other follows from the shape of
    /// the picture; with both, the picture is stretched; with none, it keeps its own size. A file
    /// without a picture gets the placeholder, in the requested size. A thumbnail of an unchanged
    /// file is not made twice.
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
