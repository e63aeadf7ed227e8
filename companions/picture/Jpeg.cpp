#include "picture/Jpeg.hpp"

#include "picture/Scaling.hpp"
#include "picture/Turbojpeg.hpp"

#include <orv/utility/Error.hpp>

#include <cmath>
#include <memory>
#include <string>
#include <type_traits>

namespace orv::picture {
namespace {

struct HandleEnd {
    void operator()(tjhandle handle) const { tjDestroy(handle); }
};
using Handle = std::unique_ptr<std::remove_pointer_t<tjhandle>, HandleEnd>;

struct BufferEnd {
    void operator()(unsigned char* buffer) const { tjFree(buffer); }
};

Handle checked(tjhandle handle)
{
    if (!handle)
        throw Error("There is no memory for a JPEG picture.");
    return Handle(handle);
}

/// From 1 to 100; NaN counts as the lowest quality.
int percent_of(double quality)
{
    if (!(quality > 0.01))
        return 1;
    return quality < 1 ? static_cast<int>(std::lround(quality * 100)) : 100;
}

/// The colours before a white ground, as red, green and blue.
std::vector<unsigned char> on_white(std::span<const std::uint8_t> rgba)
{
    std::vector<unsigned char> rgb;
    rgb.reserve(rgba.size() / 4 * 3);
    for (std::size_t i = 0; i < rgba.size(); i += 4) {
        const unsigned alpha = rgba[i + 3];
        for (std::size_t colour = 0; colour < 3; ++colour) {
            const unsigned value = rgba[i + colour] * alpha + 255 * (255 - alpha);
            rgb.push_back(static_cast<unsigned char>((value + 127) / 255));
        }
    }
    return rgb;
}

[[noreturn]] void throw_error(const char* what, const Handle& handle)
{
    throw Error(std::string(what) + ": " + tjGetErrorStr2(handle.get()) + ".");
}

} // namespace

std::vector<std::byte> encode_jpeg(const Picture& picture, double quality)
{
    const std::vector<unsigned char> rgb = on_white(picture.rgba());
    const Handle handle = checked(tjInitCompress());
    const int percent = percent_of(quality);
    // Colours at half the resolution are seen only where the rest is good.
    const int colours = percent >= 90 ? TJSAMP_444 : TJSAMP_420;
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    const int failed = tjCompress2(handle.get(), rgb.data(), static_cast<int>(picture.width()), 0,
                                   static_cast<int>(picture.height()), TJPF_RGB, &bytes, &size,
                                   colours, percent, 0);
    const std::unique_ptr<unsigned char, BufferEnd> buffer(bytes);
    if (failed)
        throw_error("The picture cannot be encoded as JPEG", handle);
    const auto whole = std::as_bytes(std::span(bytes, size));
    return {whole.begin(), whole.end()};
}

Picture decode_jpeg(std::span<const std::byte> bytes)
{
    // The library asks for mutable bytes, and does not change them.
    auto* data = const_cast<unsigned char*>(reinterpret_cast<const unsigned char*>(bytes.data()));
    const auto size = static_cast<unsigned long>(bytes.size());
    const Handle handle = checked(tjInitDecompress());
    int width = 0;
    int height = 0;
    int colours = 0;
    int space = 0;
    if (tjDecompressHeader3(handle.get(), data, size, &width, &height, &colours, &space))
        throw_error("This is no JPEG picture", handle);
    if (!is_within_bounds(static_cast<unsigned>(width), static_cast<unsigned>(height)))
        throw Error("The JPEG picture is too large.");
    std::vector<std::uint8_t> rgba(static_cast<std::size_t>(width) *
                                   static_cast<std::size_t>(height) * 4);
    if (tjDecompress2(handle.get(), data, size, rgba.data(), width, 0, height, TJPF_RGBA, 0))
        throw_error("The JPEG picture is damaged", handle);
    return {static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), std::move(rgba)};
}

} // namespace orv::picture
