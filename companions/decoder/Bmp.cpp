#include "decoder/Bmp.hpp"

#include "decoder/Bounds.hpp"

#include <orv/utility/Error.hpp>

#include <limits>
#include <memory>
#include <vector>

#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_NO_STDIO
#define STBI_ONLY_BMP
#include <stb/stb_image.h>

namespace orv::decoder {
namespace {

std::uint64_t little_endian(std::span<const std::uint8_t> bytes, std::size_t offset,
                            std::size_t size)
{
    std::uint64_t number = 0;
    for (std::size_t i = size; i-- > 0;)
        number = number << 8 | bytes[offset + i];
    return number;
}

/// Whether all rows are there: those that are not would be read as black.
bool has_all_rows(std::span<const std::uint8_t> bytes, PictureSize size)
{
    constexpr std::size_t longest_header = 54;
    if (bytes.size() < longest_header)
        return false;
    const bool is_old = little_endian(bytes, 14, 4) == 12;
    const std::uint64_t pixels_at = little_endian(bytes, 10, 4);
    const std::uint64_t bits = little_endian(bytes, is_old ? 24 : 28, 2);
    const std::uint64_t row_size = (size.width * bits + 31) / 32 * 4;
    return bytes.size() >= pixels_at && bytes.size() - pixels_at >= row_size * size.height;
}

} // namespace

bool is_bmp(std::span<const std::uint8_t> bytes)
{
    return bytes.size() > 2 && bytes[0] == 'B' && bytes[1] == 'M';
}

Picture read_bmp(std::span<const std::uint8_t> bytes)
{
    if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        throw Error("The picture's file is too large.");
    const auto count = static_cast<int>(bytes.size());
    int width = 0;
    int height = 0;
    int channels = 0;
    if (!::stbi_info_from_memory(bytes.data(), count, &width, &height, &channels))
        throw Error("The BMP picture is damaged or of an unknown kind.");
    const PictureSize size{static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)};
    check_bounds(size);
    if (!has_all_rows(bytes, size))
        throw Error("The BMP picture is incomplete.");
    const std::unique_ptr<stbi_uc, void (*)(void*)> rgba(
        ::stbi_load_from_memory(bytes.data(), count, &width, &height, &channels, 4),
        &::stbi_image_free);
    if (!rgba)
        throw Error("The BMP picture cannot be decoded.");
    const std::size_t pixel_bytes = std::size_t{size.width} * size.height * 4;
    return {size.width, size.height,
            std::vector<std::uint8_t>(rgba.get(), rgba.get() + pixel_bytes)};
}

} // namespace orv::decoder
