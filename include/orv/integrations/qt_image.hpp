#pragma once

#include <orv/picture/Picture.hpp>

#include <QColorSpace>
#include <QImage>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace orv {

/// The picture as a Qt image; needs Qt's Gui. Both share the pixels until someone paints on the
/// image. An empty picture gives a null image.
///
/// Threading: any.
inline QImage to_qimage(const Picture& picture)
{
    if (picture.is_empty())
        return {};
    auto held = std::make_unique<Picture>(picture);
    const std::uint8_t* pixels = held->rgba().data();
    const auto let_go = [](void* held_picture) { delete static_cast<Picture*>(held_picture); };
    return {pixels,
            static_cast<int>(picture.width()),
            static_cast<int>(picture.height()),
            static_cast<qsizetype>(picture.width()) * 4,
            QImage::Format_RGBA8888,
            let_go,
            held.release()};
}

/// A copy of the image, its colours made sRGB. A null image gives a picture of no size.
///
/// Threading: any.
inline Picture from_qimage(const QImage& image)
{
    QImage converted = image.convertToFormat(QImage::Format_RGBA8888);
    if (converted.isNull())
        return {};
    if (converted.colorSpace().isValid())
        converted.convertToColorSpace(QColorSpace::SRgb);
    const std::size_t row = static_cast<std::size_t>(converted.width()) * 4;
    std::vector<std::uint8_t> rgba;
    rgba.reserve(row * static_cast<std::size_t>(converted.height()));
    for (int y = 0; y < converted.height(); ++y) {
        const std::uint8_t* line = converted.constScanLine(y);
        rgba.insert(rgba.end(), line, line + row);
    }
    return {static_cast<std::uint32_t>(converted.width()),
            static_cast<std::uint32_t>(converted.height()), std::move(rgba)};
}

} // namespace orv
