#include <orv/orv.hpp>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace orv::bench {
namespace {

namespace fs = std::filesystem;

/// The thumbnails of all files of a folder, as an application's file browser makes them: a request
/// for each, all at once.
class Thumbnails {
public:
    explicit Thumbnails(fs::path destination) : destination_(std::move(destination)) {}

    void request(const fs::path& file, std::uint32_t width)
    {
        ++under_way_;
        OrvFileManager::singleton().generate_thumb(
            file, width, std::nullopt,
            [this, name = file.filename()](const ThumbGenerateOpr::Status& status) {
                --under_way_;
                take(name, std::get<ThumbGenerateOpr::success>(status));
            });
    }

    void wait()
    {
        MainQueue::instance().run_until([this] { return under_way_ == 0; });
    }

private:
    void take(const fs::path& name, const ThumbGenerateOpr::success& made) const
    {
        if (made.is_placeholder)
            throw std::runtime_error("There is no picture of " + name.string() + ".");
        const std::vector<std::byte> jpeg = made.thumb.jpeg(0.75);
        std::ofstream file(destination_ / (name.string() + ".jpg"), std::ios::binary);
        file.write(reinterpret_cast<const char*>(jpeg.data()),
                   static_cast<std::streamsize>(jpeg.size()));
    }

    fs::path destination_;
    int under_way_ = 0;
};

void make_thumbnails(const fs::path& folder, std::uint32_t width, const fs::path& destination)
{
    Locations locations;
    locations.home_dir = destination;
    locations.app_support_dir = destination / "support";
    locations.temp_dir = destination / "tmp";
    OrvFileManager::configure(locations);
    Thumbnails thumbnails(destination);
    for (const auto& file : fs::directory_iterator(folder))
        thumbnails.request(file.path(), width);
    thumbnails.wait();
}

} // namespace
} // namespace orv::bench

/// orv_thumbs FOLDER WIDTH DESTINATION
int main(int argc, char** argv)
try {
    if (argc != 4)
        throw std::runtime_error("Give a folder, a width and a destination.");
    std::filesystem::create_directory(argv[3]);
    orv::bench::make_thumbnails(argv[1], static_cast<std::uint32_t>(std::stoul(argv[2])), argv[3]);
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "orv_thumbs: %s\n", error.what());
    return 1;
}
