#include "decoder/PictureMemory.hpp"

#include <string_view>

namespace orv::decoder {
namespace {

using vips::VImage;

bool has_flag(const VImage& header, const char* name)
{
    return header.get_typeof(name) != 0 && header.get_int(name) != 0;
}

std::uint64_t size_of_pixel(const VImage& header)
{
    return static_cast<std::uint64_t>(header.bands()) * ::vips_format_sizeof(header.format());
}

/// The bytes of each pixel until the whole picture is there.
std::uint64_t bytes_kept_per_pixel(const VImage& header)
{
    const std::string_view loader = header.get_string(VIPS_META_LOADER);
    const auto pixel = size_of_pixel(header);
    // All coefficients, in two bytes each.
    if (loader.starts_with("jpeg"))
        return has_flag(header, "jpeg-multiscan") ? 2 * pixel : 0;
    if (loader.starts_with("png"))
        return has_flag(header, "interlaced") ? pixel : 0;
    // The frame, the one before, and the result.
    if (loader.starts_with("gif"))
        return 12;
    // Planes of the picture and of its tiles, and the result.
    if (loader.starts_with("heif"))
        return 4 + 2 * pixel;
    // A TIFF may be one strip.
    return 2 * pixel;
}

} // namespace

std::uint64_t memory_for(const VImage& header, PictureSize delivered)
{
    constexpr std::uint64_t always = std::uint64_t{24} << 20;
    constexpr std::uint64_t rows_at_a_time = 256;
    constexpr std::uint64_t per_pixel_delivered = 16;
    const auto width = static_cast<std::uint64_t>(header.width());
    const auto height = static_cast<std::uint64_t>(header.height());
    const auto pixel = size_of_pixel(header);
    return always + width * height * bytes_kept_per_pixel(header) + width * pixel * rows_at_a_time +
           std::uint64_t{delivered.width} * delivered.height * per_pixel_delivered;
}

} // namespace orv::decoder
