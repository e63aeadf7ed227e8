#include <orv/integrations/qt_image.hpp>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

TEST(QtImage, shares_the_pixels_of_a_picture_and_outlives_it)
{
    QImage image;
    const std::uint8_t* pixels = nullptr;
    {
        const Picture picture(2, 1, {10, 20, 30, 255, 40, 50, 60, 128});
        pixels = picture.rgba().data();
        image = to_qimage(picture);
    }
    EXPECT_EQ(image.constBits(), pixels);
    EXPECT_EQ(image.pixel(0, 0), qRgba(10, 20, 30, 255));
    EXPECT_EQ(image.pixel(1, 0), qRgba(40, 50, 60, 128));
    EXPECT_TRUE(to_qimage(Picture()).isNull());
}

TEST(QtImage, comes_back_as_the_same_picture_from_every_format)
{
    const Picture picture(3, 2, {255, 0, 0, 255, 0, 255, 0, 255, 0,   0,   255, 255,
                                 0,   0, 0, 255, 9, 9,   9, 255, 255, 255, 255, 255});
    for (const QImage::Format format :
         {QImage::Format_RGBA8888, QImage::Format_RGB32, QImage::Format_ARGB32_Premultiplied,
          QImage::Format_RGB888, QImage::Format_RGBA64}) {
        const Picture back = from_qimage(to_qimage(picture).convertToFormat(format));
        EXPECT_EQ(back.width(), 3U);
        EXPECT_TRUE(std::equal(back.rgba().begin(), back.rgba().end(), picture.rgba().begin(),
                               picture.rgba().end()))
            << format;
    }
    EXPECT_TRUE(from_qimage(QImage()).is_empty());
}

} // namespace
} // namespace orv::test
