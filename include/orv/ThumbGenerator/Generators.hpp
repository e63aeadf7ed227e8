#pragma once

#include <orv/ThumbGenerator/OrvThumbnailGenerator.hpp>

/// The generators of the library. The first three decode in helper processes, so no file can harm
/// the application. They return the placeholder for a file without a picture.
namespace orv {

/// Of a picture file.
class ImageThumbnailGenerator final : public OrvThumbnailGenerator {
public:
    [[nodiscard]] std::vector<std::string> supportedExtensions() const override;
    [[nodiscard]] Picture getThumbnail(const Url& url) const override;
    [[nodiscard]] Preview preview(const Url& url, std::optional<std::uint32_t> resize_width,
                                  std::optional<std::uint32_t> resize_height) const override;
};

/// The first page of a document, on white, as large as it is at a width of 240 pixels.
class PDFThumbnailGenerator final : public OrvThumbnailGenerator {
public:
    [[nodiscard]] std::vector<std::string> supportedExtensions() const override;
    [[nodiscard]] Picture getThumbnail(const Url& url) const override;
    [[nodiscard]] Preview preview(const Url& url, std::optional<std::uint32_t> resize_width,
                                  std::optional<std::uint32_t> resize_height) const override;
};

/// The frame at a third of a film, or the cover of a sound file. Prints the reason if there is
/// none.
class VideoThumbnailGenerator final : public OrvThumbnailGenerator {
public:
    [[nodiscard]] std::vector<std::string> supportedExtensions() const override;
    [[nodiscard]] Picture getThumbnail(const Url& url) const override;
    [[nodiscard]] Preview preview(const Url& url, std::optional<std::uint32_t> resize_width,
                                  std::optional<std::uint32_t> resize_height) const override;
};

/// The placeholder, for files of every other kind.
class DefaultThumbnailGenerator final : public OrvThumbnailGenerator {
public:
    [[nodiscard]] std::vector<std::string> supportedExtensions() const override;
    [[nodiscard]] Picture getThumbnail(const Url& url) const override;
};

} // namespace orv
