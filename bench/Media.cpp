#include "Media.hpp"

#include "Files.hpp"
#include "Measure.hpp"

#include <orv/picture/Picture.hpp>
#include <orv/utility/Locations.hpp>

#include <cstdint>
#include <filesystem>
#include <random>
#include <vector>

#include <fmt/format.h>

namespace orv::bench {
namespace {

constexpr std::uint32_t width = 4000;
constexpr std::uint32_t height = 3000;

/// Slopes of colour with the grain of a sensor.
Picture photograph(std::uint32_t number)
{
    std::minstd_rand random(number + 1);
    std::vector<std::uint8_t> rgba;
    rgba.reserve(std::size_t{width} * height * 4);
    for (std::uint32_t y = 0; y < height; ++y)
        for (std::uint32_t x = 0; x < width; ++x) {
            const auto grain = static_cast<std::uint32_t>(random() >> 10 & 15);
            rgba.push_back(static_cast<std::uint8_t>(x * 240 / width + grain));
            rgba.push_back(static_cast<std::uint8_t>(y * 240 / height + grain));
            rgba.push_back(static_cast<std::uint8_t>((x + y * number) / 32 % 240 + grain));
            rgba.push_back(255);
        }
    return {width, height, std::move(rgba)};
}

} // namespace

void make_photographs(const std::string& path, int count)
{
    const FileDescriptor folder = make_folder(path);
    for (int i = 0; i < count; ++i) {
        const std::vector<std::byte> jpeg = photograph(static_cast<std::uint32_t>(i)).jpeg(0.9);
        write_all(make_file(folder.get(), fmt::format("photograph {}.jpg", i)).get(),
                  {reinterpret_cast<const char*>(jpeg.data()), jpeg.size()});
    }
}

void make_books(const std::string& path, int count)
{
    static constexpr const char* books[] = {"A-Room-with-a-View.pdf", "The-Prince.pdf",
                                            "The-Problems-of-Philosophy.pdf"};
    make_folder(path).reset();
    for (int i = 0; i < count; ++i)
        std::filesystem::copy_file(
            resource_dir().appending(books[static_cast<std::size_t>(i) % std::size(books)]),
            fmt::format("{}/book {}.pdf", path, i));
}

void make_films(const std::string& path, int count)
{
    make_folder(path).reset();
    for (int i = 0; i < count; ++i)
        run_program({"ffmpeg", "-loglevel", "error", "-f", "lavfi", "-i",
                     fmt::format("testsrc2=size=1280x720:rate=25:duration=20,hue=h={}", i * 60),
                     "-c:v", "libx264", "-pix_fmt", "yuv420p",
                     fmt::format("{}/film {}.mp4", path, i)});
}

} // namespace orv::bench
