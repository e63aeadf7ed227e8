#include "picture/PngTexts.hpp"

#include <orv/picture/Picture.hpp>
#include <orv/utility/Error.hpp>

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes bytes_of(const Picture& picture)
{
    return {picture.rgba().begin(), picture.rgba().end()};
}

/// A picture that has something of every colour and transparency in it.
Picture colourful(std::uint32_t width, std::uint32_t height)
{
    Bytes rgba;
    for (std::uint32_t y = 0; y < height; ++y)
        for (std::uint32_t x = 0; x < width; ++x)
            for (const std::uint32_t value :
                 {x * 255 / width, y * 255 / height, (x + y) * 3, 255 - x * 128 / width})
                rgba.push_back(static_cast<std::uint8_t>(value));
    return {width, height, std::move(rgba)};
}

TEST(Picture, has_as_many_pixels_as_it_says)
{
    EXPECT_THROW(Picture(2, 2, Bytes(15)), Error);
    EXPECT_THROW(Picture(0x80000000, 2, Bytes(0)), Error);
    EXPECT_TRUE(Picture(0, 3, {}).is_empty());
    const Picture one(1, 1, Bytes(4));
    const Picture copy = one;
    EXPECT_TRUE(copy.is_same(one));
    EXPECT_FALSE(copy.is_same(Picture(1, 1, Bytes(4))));
}

struct ScaleCase {
    const char* what;
    Picture picture;
    std::uint32_t width, height;
    Bytes rgba;
};

TEST(Picture, scaling_takes_means_and_blends_neighbours)
{
    const ScaleCase cases[] = {
        {"the mean of an area",
         {2,
          2,
          {0, 0, 0, 255, 100, 0, 0, 255, //
           0, 200, 0, 255, 100, 0, 40, 255}},
         1,
         1,
         {50, 50, 10, 255}},
        {"what is transparent lends no colour",
         {2, 1, {255, 255, 255, 0, 40, 50, 60, 255}},
         1,
         1,
         {40, 50, 60, 128}},
        {"what is half transparent lends half",
         {2, 1, {0, 0, 0, 255, 90, 90, 90, 127}},
         1,
         1,
         {30, 30, 30, 191}},
        {"a pixel on the border belongs to both",
         {3, 1, {0, 0, 0, 255, 90, 0, 0, 255, 30, 0, 0, 255}},
         2,
         1,
         {30, 0, 0, 255, 50, 0, 0, 255}},
        {"growing blends",
         {2, 1, {0, 0, 0, 255, 100, 0, 0, 255}},
         4,
         1,
         {0, 0, 0, 255, 25, 0, 0, 255, 75, 0, 0, 255, 100, 0, 0, 255}},
        {"one side grows, the other shrinks",
         {1, 2, {10, 0, 0, 255, 30, 0, 0, 255}},
         2,
         1,
         {20, 0, 0, 255, 20, 0, 0, 255}},
    };
    for (const auto& [what, picture, width, height, rgba] : cases) {
        const auto scaled = picture.scale_image(width, height);
        ASSERT_TRUE(scaled) << what;
        EXPECT_EQ(bytes_of(*scaled), rgba) << what;
    }
}

TEST(Picture, scaling_keeps_an_even_colour_at_every_size)
{
    const Bytes colour = {1, 254, 128, 77};
    for (const std::uint32_t from : {1U, 2U, 7U, 64U, 1000U}) {
        Bytes rgba;
        for (std::uint32_t i = 0; i < from * 3; ++i)
            rgba.insert(rgba.end(), colour.begin(), colour.end());
        for (const std::uint32_t to : {1U, 3U, 63U, 999U, 1001U}) {
            const auto scaled = Picture(from, 3, rgba).scale_image(to, 2);
            ASSERT_TRUE(scaled && scaled->width() == to && scaled->height() == 2);
            const Bytes pixels = bytes_of(*scaled);
            for (std::size_t i = 0; i < pixels.size(); ++i)
                ASSERT_EQ(pixels[i], colour[i % 4]) << from << " to " << to;
        }
    }
}

TEST(Picture, scaling_to_what_cannot_be_yields_nothing)
{
    const Picture picture = colourful(4, 4);
    constexpr auto most = std::numeric_limits<std::uint32_t>::max();
    EXPECT_FALSE(Picture().scale_image(4, 4));
    for (const auto& [width, height] :
         {std::pair{0U, 4U}, {4U, 0U}, {most, most}, {most, 1U}, {1U, most}, {20'000U, 20'000U}})
        EXPECT_FALSE(picture.scale_image(width, height)) << width << " by " << height;
    EXPECT_TRUE(picture.scale_image(4, 4)->is_same(picture));
}

TEST(Picture, png_gives_back_every_pixel_and_text)
{
    const Picture picture = colourful(37, 23);
    const picture::PngTexts texts = {{"Thumb::MTime", "12"}, {"Title", ""}};
    const auto png = picture.png(texts);
    EXPECT_EQ(bytes_of(Picture::from_png(png)), bytes_of(picture));
    EXPECT_EQ(picture::png_texts(png), texts);
    EXPECT_EQ(picture::png_texts(std::span(png).first(png.size() / 2)), texts);

    EXPECT_THROW(static_cast<void>(picture.png({{"", "x"}})), Error);
    EXPECT_THROW(static_cast<void>(picture.png({{std::string(80, 'k'), "x"}})), Error);
    EXPECT_THROW(static_cast<void>(picture.png({{"k", "ü"}})), Error);
}

double mean_difference(const Picture& one, const Picture& other)
{
    double sum = 0;
    for (std::size_t i = 0; i < one.rgba().size(); ++i)
        sum += std::abs(double(one.rgba()[i]) - double(other.rgba()[i]));
    return sum / double(one.rgba().size());
}

TEST(Picture, jpeg_is_smaller_and_coarser_the_lower_its_quality)
{
    Bytes rgba = bytes_of(colourful(64, 64));
    for (std::size_t i = 3; i < rgba.size(); i += 4)
        rgba[i] = 255;
    const Picture picture(64, 64, std::move(rgba));
    std::size_t size_before = std::numeric_limits<std::size_t>::max();
    double difference_before = 0;
    for (const double quality : {1.0, 0.7, 0.1, -3.0}) {
        const auto jpeg = picture.jpeg(quality);
        const double difference = mean_difference(Picture::from_jpeg(jpeg), picture);
        EXPECT_LT(jpeg.size(), size_before) << quality;
        EXPECT_GT(difference, difference_before) << quality;
        size_before = jpeg.size();
        difference_before = difference;
        EXPECT_TRUE(quality < 1 || difference < 1.5) << difference;
    }
    EXPECT_NO_THROW(static_cast<void>(picture.jpeg(std::nan(""))));
}

TEST(Picture, jpeg_stands_on_white)
{
    const Picture clear = Picture::from_jpeg(Picture(8, 8, Bytes(8 * 8 * 4)).jpeg(1));
    EXPECT_EQ(bytes_of(clear), Bytes(8 * 8 * 4, 255));
}

TEST(Picture, bytes_that_are_no_whole_picture_are_refused)
{
    const Picture picture = colourful(64, 64);
    for (const auto& [whole, read] : {std::pair{picture.png(), &Picture::from_png},
                                      std::pair{picture.jpeg(0.9), &Picture::from_jpeg}}) {
        for (std::size_t size = 0; size < whole.size() - 16; size += 1 + size / 8)
            EXPECT_THROW(read(std::span(whole).first(size)), Error) << size;
    }
    EXPECT_THROW(Picture::from_jpeg(picture.png()), Error);
    EXPECT_THROW(Picture::from_png(picture.jpeg(1)), Error);
    EXPECT_THROW(static_cast<void>(Picture().png()), Error);
    EXPECT_THROW(static_cast<void>(Picture(0, 1, {}).jpeg(1)), Error);
    EXPECT_THROW(static_cast<void>(Picture(70'000, 1, Bytes(280'000)).jpeg(1)), Error);
}

} // namespace
} // namespace orv::test
