#include "picture/Jpeg.hpp"
#include "picture/Png.hpp"
#include "picture/PngTexts.hpp"
#include "picture/Scaling.hpp"

#include <orv/picture/Picture.hpp>
#include <orv/utility/Error.hpp>

namespace orv {
namespace {

void check_has_size(const Picture& picture)
{
    if (picture.is_empty())
        throw Error("A picture of no size cannot be encoded.");
}

} // namespace

Picture::Picture(std::uint32_t width, std::uint32_t height, std::vector<std::uint8_t> rgba)
    : width_(width), height_(height)
{
    // Compared by division: the product of two sides and 4 need not fit.
    const std::uint64_t pixels = std::uint64_t{width} * height;
    if (rgba.size() % 4 != 0 || rgba.size() / 4 != pixels)
        throw Error("A picture of " + std::to_string(width) + " by " + std::to_string(height) +
                    " pixels was given " + std::to_string(rgba.size()) +
                    " bytes: each pixel takes 4.");
    pixels_ = std::make_shared<const std::vector<std::uint8_t>>(std::move(rgba));
}

std::span<const std::uint8_t> Picture::rgba() const noexcept
{
    return pixels_ ? std::span<const std::uint8_t>(*pixels_) : std::span<const std::uint8_t>();
}

bool Picture::is_same(const Picture& other) const noexcept
{
    return pixels_ == other.pixels_;
}

std::optional<Picture> Picture::scale_image(std::uint32_t new_width, std::uint32_t new_height) const
{
    const bool has_size = new_width > 0 && new_height > 0;
    if (is_empty() || !has_size || !picture::is_within_bounds(new_width, new_height))
        return std::nullopt;
    if (new_width == width_ && new_height == height_)
        return *this;
    return picture::scaled(*this, new_width, new_height);
}

std::vector<std::byte> Picture::jpeg(double quality) const
{
    check_has_size(*this);
    return picture::encode_jpeg(*this, quality);
}

std::vector<std::byte>
Picture::png(const std::vector<std::pair<std::string, std::string>>& texts) const
{
    check_has_size(*this);
    return picture::with_png_texts(picture::encode_png(*this), texts);
}

Picture Picture::from_jpeg(std::span<const std::byte> bytes)
{
    return picture::decode_jpeg(bytes);
}

Picture Picture::from_png(std::span<const std::byte> bytes)
{
    return picture::decode_png(bytes);
}

} // namespace orv
