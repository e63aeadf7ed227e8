#include "decoder/FramePicture.hpp"

#include "decoder/Bounds.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>
#include <vector>

namespace orv::decoder {
namespace {

int sign(std::int32_t number)
{
    return number < 0 ? -1 : 1;
}

bool is_on_its_side(Turn turn)
{
    return turn.right[0] == 0;
}

PictureSize swapped_if(bool is_swapped, PictureSize size)
{
    return is_swapped ? PictureSize{size.height, size.width} : size;
}

PictureSize size_with_square_pixels(const AVFrame& frame, AVRational pixel_shape)
{
    double width = frame.width;
    if (pixel_shape.num > 0 && pixel_shape.den > 0)
        width *= double(pixel_shape.num) / pixel_shape.den;
    width = std::clamp(std::round(width), 1.0, double(Picture::max_side));
    return {static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(frame.height)};
}

/// Films without a colour space count as films of their size mostly are.
int colour_space_of(const AVFrame& frame)
{
    constexpr int highest_of_old = 576;
    if (frame.colorspace != AVCOL_SPC_UNSPECIFIED)
        return frame.colorspace;
    return frame.height > highest_of_old ? SWS_CS_ITU709 : SWS_CS_ITU601;
}

bool has_full_range(const AVFrame& frame)
{
    switch (frame.format) {
    case AV_PIX_FMT_YUVJ420P:
    case AV_PIX_FMT_YUVJ422P:
    case AV_PIX_FMT_YUVJ444P:
    case AV_PIX_FMT_YUVJ440P:
        return true;
    default:
        return frame.color_range == AVCOL_RANGE_JPEG;
    }
}

struct ScalerEnd {
    void operator()(SwsContext* scaler) const { ::sws_freeContext(scaler); }
};
using Scaler = std::unique_ptr<SwsContext, ScalerEnd>;

Scaler scaler_to(const AVFrame& frame, PictureSize size)
{
    const bool shrinks = static_cast<int>(size.width) < frame.width;
    const int method = shrinks ? SWS_AREA : SWS_BICUBIC;
    Scaler scaler(::sws_getContext(
        frame.width, frame.height, static_cast<AVPixelFormat>(frame.format),
        static_cast<int>(size.width), static_cast<int>(size.height), AV_PIX_FMT_RGBA,
        method | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr, nullptr, nullptr));
    if (!scaler)
        throw Error("The film's colours are of a kind that cannot be shown.");
    const int* colours = ::sws_getCoefficients(colour_space_of(frame));
    constexpr int one = 1 << 16;
    // Fails for frames without luminance and chrominance, and they need no such thing.
    ::sws_setColorspaceDetails(scaler.get(), colours, has_full_range(frame) ? 1 : 0, colours, 1, 0,
                               one, one);
    return scaler;
}

/// A size near the wanted one within a single step of the scaler.
PictureSize size_in_reach(const AVFrame& frame, PictureSize wanted)
{
    constexpr int farthest = 32;
    const auto least = [](int side) { return static_cast<std::uint32_t>(side / farthest + 1); };
    return {std::max(wanted.width, least(frame.width)),
            std::max(wanted.height, least(frame.height))};
}

Picture scaled(const AVFrame& frame, PictureSize size)
{
    const Scaler scaler = scaler_to(frame, size);
    const std::size_t row = std::size_t{size.width} * 4;
    // The scaler may write a little beyond the end.
    constexpr std::size_t spare = 64;
    std::vector<std::uint8_t> rgba(row * size.height + spare);
    std::uint8_t* const planes[] = {rgba.data()};
    const int strides[] = {static_cast<int>(row)};
    if (::sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, planes, strides) !=
        static_cast<int>(size.height))
        throw Error("The film's frame cannot be scaled.");
    rgba.resize(row * size.height);
    return {size.width, size.height, std::move(rgba)};
}

Picture turned(const Picture& picture, Turn turn)
{
    const auto width = static_cast<int>(picture.width());
    const auto height = static_cast<int>(picture.height());
    const PictureSize size = swapped_if(is_on_its_side(turn), {picture.width(), picture.height()});
    const int left = turn.right[0] + turn.down[0] < 0 ? static_cast<int>(size.width) - 1 : 0;
    const int top = turn.right[1] + turn.down[1] < 0 ? static_cast<int>(size.height) - 1 : 0;
    std::vector<std::uint8_t> rgba(picture.rgba().size());
    const std::uint8_t* from = picture.rgba().data();
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x, from += 4) {
            const int to_x = left + turn.right[0] * x + turn.down[0] * y;
            const int to_y = top + turn.right[1] * x + turn.down[1] * y;
            const std::size_t place =
                static_cast<std::size_t>(to_y) * size.width + static_cast<std::size_t>(to_x);
            std::copy_n(from, 4, &rgba[place * 4]);
        }
    return {size.width, size.height, std::move(rgba)};
}

} // namespace

Turn turn_of(const AVStream& stream)
{
    std::size_t size = 0;
    const auto* data = ::av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
    if (!data || size < 9 * sizeof(std::int32_t))
        return {};
    const auto* matrix = reinterpret_cast<const std::int32_t*>(data);
    const bool is_on_side = std::llabs(matrix[1]) > std::llabs(matrix[0]);
    if (is_on_side)
        return {{0, sign(matrix[1])}, {sign(matrix[3]), 0}};
    return {{sign(matrix[0]), 0}, {0, sign(matrix[4])}};
}

DecodedPicture picture_of(const AVFrame& frame, AVRational pixel_shape, Turn turn,
                          SizeWanted wanted)
{
    const bool is_swapped = is_on_its_side(turn);
    const PictureSize full = swapped_if(is_swapped, size_with_square_pixels(frame, pixel_shape));
    check_bounds(full);
    const PictureSize size = swapped_if(is_swapped, delivered_size(full, wanted));
    const Picture near = scaled(frame, size_in_reach(frame, size));
    const auto exact = near.scale_image(size.width, size.height);
    return {turned(exact.value_or(near), turn), full};
}

} // namespace orv::decoder
