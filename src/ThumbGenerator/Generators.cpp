#include "Global/ThumbPlaceholder.hpp"
#include "ThumbGenerator/MissingHelpers.hpp"
#include "ThumbGenerator/OwnGenerators.hpp"

#include <orv/ThumbGenerator/Generators.hpp>
#include <orv/utility/Error.hpp>

#include <iostream>

namespace orv {
namespace {

Preview whole(Picture picture)
{
    const std::uint32_t width = picture.width();
    const std::uint32_t height = picture.height();
    return {std::move(picture), width, height};
}

constexpr DecodedKind image_kind{Medium::image, false};
constexpr DecodedKind page_kind{Medium::pdf_page, false};
constexpr DecodedKind film_kind{Medium::film_frame, true};

Preview preview_or_placeholder(const Url& url, DecodedKind kind, SizeWanted wanted)
try {
    return decoded_preview(url, kind, wanted, {});
} catch (const Error&) {
    return whole(intr_thumb_placeholder());
}

/// Of the formats beyond those of the registry's first generators.
class FurtherGenerator final : public OrvThumbnailGenerator {
public:
    FurtherGenerator(Medium medium, std::vector<std::string> extensions)
        : kind_{medium, false}, extensions_(std::move(extensions))
    {
    }

    [[nodiscard]] std::vector<std::string> supportedExtensions() const override
    {
        return extensions_;
    }
    [[nodiscard]] Picture getThumbnail(const Url& url) const override
    {
        return preview(url, {}, {}).picture;
    }
    [[nodiscard]] Preview preview(const Url& url, std::optional<std::uint32_t> resize_width,
                                  std::optional<std::uint32_t> resize_height) const override
    {
        return preview_or_placeholder(url, kind_, {resize_width, resize_height});
    }
    [[nodiscard]] DecodedKind kind() const { return kind_; }

private:
    DecodedKind kind_;
    std::vector<std::string> extensions_;
};

} // namespace

std::optional<DecodedKind> kind_of(const OrvThumbnailGenerator& generator)
{
    if (dynamic_cast<const ImageThumbnailGenerator*>(&generator))
        return image_kind;
    if (dynamic_cast<const PDFThumbnailGenerator*>(&generator))
        return page_kind;
    if (dynamic_cast<const VideoThumbnailGenerator*>(&generator))
        return film_kind;
    if (const auto* further = dynamic_cast<const FurtherGenerator*>(&generator))
        return further->kind();
    return std::nullopt;
}

const std::vector<std::shared_ptr<const OrvThumbnailGenerator>>& further_generators()
{
    using Extensions = std::vector<std::string>;
    static const auto* generators = new std::vector<std::shared_ptr<const OrvThumbnailGenerator>>{
        std::make_shared<FurtherGenerator>(Medium::image, Extensions{"tif", "webp", "avif"}),
        std::make_shared<FurtherGenerator>(Medium::drawing, Extensions{"svg"}),
        std::make_shared<FurtherGenerator>(Medium::film_frame,
                                           Extensions{"webm", "mkv", "mp3", "flac"})};
    return *generators;
}

Preview decoded_preview(const Url& url, DecodedKind kind, SizeWanted wanted,
                        const std::stop_token& stop)
try {
    DecodedPicture decoded = decode_picture(url, kind.medium, wanted, stop);
    return {std::move(decoded.picture), decoded.full_size.width, decoded.full_size.height};
} catch (const Error& error) {
    warn_of_missing_helpers();
    if (kind.prints_failures)
        std::cerr << "ERROR: " + error.message() + "\n" << std::flush;
    throw;
}

Preview OrvThumbnailGenerator::preview(const Url& url,
                                       std::optional<std::uint32_t> /*resize_width*/,
                                       std::optional<std::uint32_t> /*resize_height*/) const
{
    return whole(getThumbnail(url));
}

std::vector<std::string> ImageThumbnailGenerator::supportedExtensions() const
{
    return {"png", "jpg", "jpeg", "heic", "tiff", "gif", "bmp"};
}

Picture ImageThumbnailGenerator::getThumbnail(const Url& url) const
{
    return preview(url, {}, {}).picture;
}

Preview ImageThumbnailGenerator::preview(const Url& url, std::optional<std::uint32_t> resize_width,
                                         std::optional<std::uint32_t> resize_height) const
{
    return preview_or_placeholder(url, image_kind, {resize_width, resize_height});
}

std::vector<std::string> PDFThumbnailGenerator::supportedExtensions() const
{
    return {"pdf"};
}

Picture PDFThumbnailGenerator::getThumbnail(const Url& url) const
{
    return preview(url, {}, {}).picture;
}

Preview PDFThumbnailGenerator::preview(const Url& url, std::optional<std::uint32_t> resize_width,
                                       std::optional<std::uint32_t> resize_height) const
{
    return preview_or_placeholder(url, page_kind, {resize_width, resize_height});
}

std::vector<std::string> VideoThumbnailGenerator::supportedExtensions() const
{
    return {"mov", "m4a", "mp4"};
}

Picture VideoThumbnailGenerator::getThumbnail(const Url& url) const
{
    return preview(url, {}, {}).picture;
}

Preview VideoThumbnailGenerator::preview(const Url& url, std::optional<std::uint32_t> resize_width,
                                         std::optional<std::uint32_t> resize_height) const
{
    return preview_or_placeholder(url, film_kind, {resize_width, resize_height});
}

std::vector<std::string> DefaultThumbnailGenerator::supportedExtensions() const
{
    return {};
}

Picture DefaultThumbnailGenerator::getThumbnail(const Url& /*url*/) const
{
    return intr_thumb_placeholder();
}

} // namespace orv
