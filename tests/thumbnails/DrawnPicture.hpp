#pragma once

#include <orv/orv.hpp>

#include <atomic>
#include <functional>

namespace orv::test {

/// A picture of one colour.
inline Picture drawn(std::uint32_t width, std::uint32_t height, std::uint8_t grey = 90)
{
    std::vector<std::uint8_t> rgba(std::size_t{4} * width * height, grey);
    for (std::size_t i = 3; i < rgba.size(); i += 4)
        rgba[i] = 255;
    return {width, height, std::move(rgba)};
}

/// A generator as an application would add it. It does what `draw` says, and counts.
class DrawingGenerator : public OrvThumbnailGenerator {
public:
    DrawingGenerator(std::vector<std::string> extensions, std::function<Picture()> draw)
        : extensions_(std::move(extensions)), draw_(std::move(draw))
    {
    }

    [[nodiscard]] std::vector<std::string> supportedExtensions() const override
    {
        return extensions_;
    }
    [[nodiscard]] Picture getThumbnail(const Url& /*url*/) const override
    {
        ++count_;
        return draw_();
    }
    [[nodiscard]] int count() const { return count_; }

private:
    std::vector<std::string> extensions_;
    std::function<Picture()> draw_;
    mutable std::atomic<int> count_ = 0;
};

/// Adds such a generator to the registry.
inline std::shared_ptr<DrawingGenerator> add_drawing(std::vector<std::string> extensions,
                                                     std::function<Picture()> draw)
{
    auto generator = std::make_shared<DrawingGenerator>(std::move(extensions), std::move(draw));
    OrvThumbnail::singleton().addThumbnailGenerator(generator);
    return generator;
}

} // namespace orv::test
