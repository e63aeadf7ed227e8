#include "decoder/Bmp.hpp"

#include "decoder/Bounds.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

#include <gdk-pixbuf/gdk-pixbuf.h>

namespace orv::decoder {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t longest_header = 54;

struct ObjectEnd {
    void operator()(gpointer object) const { ::g_object_unref(object); }
};
using Loader = std::unique_ptr<GdkPixbufLoader, ObjectEnd>;

std::uint64_t little_endian(Bytes bytes, std::size_t offset, std::size_t size)
{
    std::uint64_t number = 0;
    for (std::size_t i = size; i-- > 0;)
        number = number << 8 | bytes[offset + i];
    return number;
}

/// Its first kind has short numbers only, and no rows but plain ones.
bool is_old(Bytes bytes)
{
    return little_endian(bytes, 14, 4) == 12;
}

PictureSize size_of(Bytes bytes)
{
    const bool old = is_old(bytes);
    const auto width = static_cast<std::uint32_t>(little_endian(bytes, 18, old ? 2 : 4));
    const auto height =
        static_cast<std::int32_t>(old ? little_endian(bytes, 20, 2) : little_endian(bytes, 22, 4));
    // A height below 0 means rows from the top.
    return {width, static_cast<std::uint32_t>(std::llabs(height))};
}

/// True if all rows are there: the loader would read missing ones as black.
bool has_all_rows(Bytes bytes, PictureSize size)
{
    const std::uint64_t pixels_at = little_endian(bytes, 10, 4);
    const std::uint64_t bits = little_endian(bytes, is_old(bytes) ? 24 : 28, 2);
    const std::uint64_t kind = is_old(bytes) ? 0 : little_endian(bytes, 30, 4);
    const bool has_runs = kind == 1 || kind == 2;
    const std::uint64_t row_size = (size.width * bits + 31) / 32 * 4;
    const std::uint64_t needed = has_runs ? little_endian(bytes, 34, 4) : row_size * size.height;
    return bytes.size() >= pixels_at && bytes.size() - pixels_at >= needed;
}

/// True if the file can hold the header and the colour table it announces. The loader reserves
/// memory for both unseen: 4 GiB for a header of 2^32 - 1 bytes, or for as many colours.
bool has_header_and_colours(Bytes bytes)
{
    constexpr std::size_t header_at = 14;
    return little_endian(bytes, header_at, 4) <= bytes.size() - header_at &&
           (is_old(bytes) || little_endian(bytes, 46, 4) <= bytes.size() / 4);
}

Picture picture_of(const GdkPixbuf* pixels)
{
    const auto width = static_cast<std::size_t>(::gdk_pixbuf_get_width(pixels));
    const auto height = static_cast<std::size_t>(::gdk_pixbuf_get_height(pixels));
    const auto channels = static_cast<std::size_t>(::gdk_pixbuf_get_n_channels(pixels));
    const auto row_size = static_cast<std::size_t>(::gdk_pixbuf_get_rowstride(pixels));
    const std::uint8_t* row = ::gdk_pixbuf_read_pixels(pixels);
    std::vector<std::uint8_t> rgba(width * height * 4, 255);
    auto* to = rgba.data();
    for (std::size_t y = 0; y < height; ++y, row += row_size)
        for (std::size_t x = 0; x < width; ++x, to += 4)
            std::copy_n(row + x * channels, channels, to);
    return {static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), std::move(rgba)};
}

} // namespace

void prepare_bmp()
{
    const Loader loader(::gdk_pixbuf_loader_new_with_type("bmp", nullptr));
    if (loader)
        ::gdk_pixbuf_loader_close(loader.get(), nullptr);
}

bool is_bmp(Bytes bytes)
{
    return bytes.size() > 2 && bytes[0] == 'B' && bytes[1] == 'M';
}

std::uint64_t memory_for_bmp(Bytes bytes)
{
    if (bytes.size() < longest_header)
        return 0;
    // The loaded pixels, the picture made of them, and the thumbnail.
    constexpr std::uint64_t per_pixel = 16;
    const PictureSize size = size_of(bytes);
    return std::uint64_t{size.width} * size.height * per_pixel;
}

Picture read_bmp(Bytes bytes)
{
    if (bytes.size() < longest_header)
        throw Error("The BMP picture is incomplete.");
    const PictureSize size = size_of(bytes);
    check_bounds(size);
    if (std::uint64_t{size.width} * size.height > Picture::max_pixels)
        throw Error("The BMP picture is too large.");
    if (!has_all_rows(bytes, size) || !has_header_and_colours(bytes))
        throw Error("The BMP picture is incomplete.");
    const Loader loader(::gdk_pixbuf_loader_new_with_type("bmp", nullptr));
    if (!loader)
        throw Error("What reads BMP pictures is not installed.");
    const bool is_read =
        ::gdk_pixbuf_loader_write(loader.get(), bytes.data(), bytes.size(), nullptr);
    const bool is_whole = ::gdk_pixbuf_loader_close(loader.get(), nullptr);
    const GdkPixbuf* pixels = ::gdk_pixbuf_loader_get_pixbuf(loader.get());
    if (!is_read || !is_whole || !pixels)
        throw Error("The BMP picture is damaged or of an unknown kind.");
    return picture_of(pixels);
}

} // namespace orv::decoder
