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

Preview preview_or_placeholder(const Url& url, Medium medium, SizeWanted wanted)
try {
    return decoded_preview(url, medium, wanted, {});
} catch (const Error&) {
    return whole(intr_thumb_placeholder());
}

} // namespace

std::optional<Medium> medium_of(const OrvThumbnailGenerator& generator)
{
    if (dynamic_cast<const ImageThumbnailGenerator*>(&generator))
        return Medium::image;
    if (dynamic_cast<const PDFThumbnailGenerator*>(&generator))
        return Medium::pdf_page;
    if (dynamic_cast<const VideoThumbnailGenerator*>(&generator))
        return Medium::film_frame;
    return std::nullopt;
}

Preview decoded_preview(const Url& url, Medium medium, SizeWanted wanted,
                        const std::stop_token& stop)
try {
    DecodedPicture decoded = decode_picture(url, medium, wanted, stop);
    return {std::move(decoded.picture), decoded.full_size.width, decoded.full_size.height};
} catch (const Error& error) {
    warn_of_missing_helpers();
    if (medium == Medium::film_frame)
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
    return preview_or_placeholder(url, Medium::image, {resize_width, resize_height});
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
    return preview_or_placeholder(url, Medium::pdf_page, {resize_width, resize_height});
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
    return preview_or_placeholder(url, Medium::film_frame, {resize_width, resize_height});
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
