#include "micro/Micro.hpp"

#include <orv/orv.hpp>

namespace orv::bench {
namespace {

class Drawing final : public OrvThumbnailGenerator {
public:
    [[nodiscard]] std::vector<std::string> supportedExtensions() const override { return {"txt"}; }
    [[nodiscard]] Picture getThumbnail(const Url& /*url*/) const override
    {
        return {240, 180, std::vector<std::uint8_t>(240 * 180 * 4, 255)};
    }
};

/// A thumbnail that was made before.
void kept_thumbnail(benchmark::State& state)
{
    const Url file = Url(make_folder_of_files("thumbnails", 1)).appending("file 0.txt");
    OrvThumbnail& registry = OrvThumbnail::singleton();
    registry.addThumbnailGenerator(std::make_shared<Drawing>());
    for ([[maybe_unused]] auto _ : state)
        benchmark::DoNotOptimize(registry.getThumbnail(file, 240, {}));
}
BENCHMARK(kept_thumbnail)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace orv::bench
