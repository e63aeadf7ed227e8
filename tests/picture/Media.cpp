#include "picture/Media.hpp"

#include <cstdlib>
#include <iostream>

#include <gtest/gtest.h>
#include <zlib.h>

namespace orv::test {
namespace {

std::string big_endian(std::uint32_t number)
{
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>(number >> shift & 0xFF);
    return bytes;
}

std::string png_chunk(const std::string& body)
{
    const auto* bytes = reinterpret_cast<const Bytef*>(body.data());
    return big_endian(static_cast<std::uint32_t>(body.size() - 4)) + body +
           big_endian(static_cast<std::uint32_t>(::crc32_z(0, bytes, body.size())));
}

bool is_about(const std::uint8_t* pixel, const Colour& colour)
{
    constexpr int tolerance = 24;
    for (std::size_t i = 0; i < 3; ++i)
        if (std::abs(int(pixel[i]) - int(colour[i])) > tolerance)
            return false;
    return pixel[3] == 255;
}

} // namespace

Picture quarters(std::uint32_t width, std::uint32_t height, const Quarters& colours)
{
    std::vector<std::uint8_t> rgba;
    for (std::uint32_t y = 0; y < height; ++y)
        for (std::uint32_t x = 0; x < width; ++x) {
            const Colour& colour = colours[(y * 2 / height) * 2 + x * 2 / width];
            rgba.insert(rgba.end(), colour.begin(), colour.end());
            rgba.push_back(255);
        }
    return {width, height, std::move(rgba)};
}

bool shows(const Picture& picture, const Quarters& colours)
{
    bool is_right = !picture.is_empty();
    for (std::size_t i = 0; i < 4 && is_right; ++i) {
        const std::size_t x = picture.width() * (1 + 2 * (i % 2)) / 4;
        const std::size_t y = picture.height() * (1 + 2 * (i / 2)) / 4;
        const std::uint8_t* pixel = &picture.rgba()[(y * picture.width() + x) * 4];
        is_right = is_about(pixel, colours[i]);
        if (!is_right)
            std::cerr << "quarter " << i << " is " << int(pixel[0]) << ' ' << int(pixel[1]) << ' '
                      << int(pixel[2]) << ' ' << int(pixel[3]) << '\n';
    }
    return is_right;
}

std::string text_of(const std::vector<std::byte>& bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string with_orientation(const std::string& jpeg, char orientation)
{
    using namespace std::string_literals;
    // A segment of metadata, with one list of one entry: the orientation, a short number.
    const std::string exif =
        "Exif\0\0II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0"s + orientation + "\0\0\0\0\0\0\0"s;
    const auto length = static_cast<char>(exif.size() + 2);
    return jpeg.substr(0, 2) + "\xFF\xE1\0"s + length + exif + jpeg.substr(2);
}

std::string pdf_of(const std::vector<std::string>& objects, const std::string& trailer)
{
    const std::string size = std::to_string(objects.size() + 1);
    std::string text = "%PDF-1.4\n";
    std::string table = "xref\n0 " + size + "\n0000000000 65535 f \n";
    for (std::size_t i = 0; i < objects.size(); ++i) {
        const std::string place = std::to_string(text.size());
        table += std::string(10 - place.size(), '0') + place + " 00000 n \n";
        text += std::to_string(i + 1) + " 0 obj " + objects[i] + " endobj\n";
    }
    return text + table + "trailer <</Root 1 0 R /Size " + size + " " + trailer +
           ">>\nstartxref\n" + std::to_string(text.size()) + "\n%%EOF\n";
}

std::string pdf_drawing(const std::string& drawing)
{
    return "<</Length " + std::to_string(drawing.size()) + ">> stream\n" + drawing + "\nendstream";
}

std::string pdf_page(const std::string& width, const std::string& height,
                     const std::string& trailer)
{
    return pdf_of({"<</Type /Catalog /Pages 2 0 R>>", "<</Type /Pages /Kids [3 0 R] /Count 1>>",
                   "<</Type /Page /Parent 2 0 R /MediaBox [0 0 " + width + " " + height +
                       "] /Contents 4 0 R>>",
                   pdf_drawing("1 0 0 rg 0 0 " + std::to_string(std::stol(width) / 2) + " " +
                               height + " re f")},
                  trailer);
}

std::string png_header(std::uint32_t width, std::uint32_t height)
{
    using namespace std::string_literals;
    const std::string header = "IHDR" + big_endian(width) + big_endian(height) + "\x08\x06\0\0\0"s;
    return "\x89PNG\r\n\x1a\n" + png_chunk(header) + png_chunk("IDAT"s + std::string(40, 'x'));
}

bool lacks_tools()
{
    const bool is_lacking = std::system("ffmpeg -version >/dev/null 2>&1 && "
                                        "vips --version >/dev/null 2>&1") != 0;
    if (is_lacking)
        std::cout << "ffmpeg and vips make the media for this test: one of them is missing.\n";
    return is_lacking;
}

void run_in(const Url& folder, const std::string& command)
{
    const std::string line = "cd '" + folder.path() + "' && " + command + " </dev/null";
    ASSERT_EQ(std::system(line.c_str()), 0) << line;
}

} // namespace orv::test
