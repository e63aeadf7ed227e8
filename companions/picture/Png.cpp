#include "picture/Png.hpp"

#include "picture/Libpng.hpp"
#include "picture/Scaling.hpp"

#include <orv/utility/Error.hpp>

#include <string>

namespace orv::picture {
namespace {

/// The state of one reading or writing.
struct Image : png_image {
    Image() : png_image() { version = PNG_IMAGE_VERSION; }
    ~Image()
    {
        if (opaque) // else libpng may be missing, and the call would throw
            png_image_free(this);
    }
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;
};

[[noreturn]] void throw_error(const char* what, const Image& image)
{
    throw Error(std::string(what) + ": " + image.message + ".");
}

} // namespace

std::vector<std::byte> encode_png(const Picture& picture)
{
    Image image;
    image.width = picture.width();
    image.height = picture.height();
    image.format = PNG_FORMAT_RGBA;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::vector<std::byte> bytes(size);
    if (!png_image_write_to_memory(&image, bytes.data(), &size, 0, picture.rgba().data(), 0,
                                   nullptr))
        throw_error("The picture cannot be encoded as PNG", image);
    bytes.resize(size);
    bytes.shrink_to_fit();
    return bytes;
}

Picture decode_png(std::span<const std::byte> bytes)
{
    Image image;
    if (!png_image_begin_read_from_memory(&image, bytes.data(), bytes.size()))
        throw_error("This is no PNG picture", image);
    if (!is_within_bounds(image.width, image.height))
        throw Error("The PNG picture is too large.");
    image.format = PNG_FORMAT_RGBA;
    std::vector<std::uint8_t> rgba(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, rgba.data(), 0, nullptr))
        throw_error("The PNG picture is damaged", image);
    return {image.width, image.height, std::move(rgba)};
}

} // namespace orv::picture
