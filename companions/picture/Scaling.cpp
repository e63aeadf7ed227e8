#include "picture/Scaling.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

namespace orv::picture {
namespace {

/// The old pixels behind a new one along one axis, from `first` on, with their weights; the weights
/// add up to 1.
struct Blend {
    std::uint32_t first = 0;
    std::uint32_t count = 0;
    std::size_t parts = 0;
};

/// All blends along one axis.
class Axis {
public:
    Axis(std::uint32_t old_size, std::uint32_t new_size);

    [[nodiscard]] const Blend& operator[](std::uint32_t position) const
    {
        return blends_[position];
    }
    [[nodiscard]] const float* parts_of(const Blend& blend) const { return &parts_[blend.parts]; }

private:
    void add_mean(double begin, double end, std::uint32_t old_size);
    void add_neighbours(double centre, std::uint32_t old_size);

    std::vector<Blend> blends_;
    std::vector<float> parts_;
};

Axis::Axis(std::uint32_t old_size, std::uint32_t new_size)
{
    blends_.reserve(new_size);
    const double step = double(old_size) / new_size;
    for (std::uint32_t i = 0; i < new_size; ++i) {
        if (step >= 1)
            add_mean(i * step, (i + 1) * step, old_size);
        else
            add_neighbours((i + 0.5) * step, old_size);
    }
}

void Axis::add_mean(double begin, double end, std::uint32_t old_size)
{
    const auto first = std::min(static_cast<std::uint32_t>(begin), old_size - 1);
    const auto last = std::clamp(static_cast<std::uint32_t>(std::ceil(end)), first + 1, old_size);
    blends_.push_back({first, last - first, parts_.size()});
    double sum = 0;
    const auto covered = [&](std::uint32_t i) {
        return std::max(std::min(end, i + 1.0) - std::max(begin, double(i)), 0.0);
    };
    for (std::uint32_t i = first; i < last; ++i)
        sum += covered(i);
    for (std::uint32_t i = first; i < last; ++i)
        parts_.push_back(static_cast<float>(covered(i) / sum));
}

void Axis::add_neighbours(double centre, std::uint32_t old_size)
{
    const double position = std::clamp(centre - 0.5, 0.0, old_size - 1.0);
    const auto first = static_cast<std::uint32_t>(position);
    const auto part = static_cast<float>(position - first);
    const bool is_last = first + 1 >= old_size;
    blends_.push_back({first, is_last ? 1U : 2U, parts_.size()});
    parts_.push_back(is_last ? 1.0F : 1 - part);
    if (!is_last)
        parts_.push_back(part);
}

/// Red, green and blue multiplied by alpha, and alpha: the values to average.
using Pixel = std::array<float, 4>;
using Row = std::vector<Pixel>;

void add(Pixel& sum, const Pixel& pixel, float part)
{
    for (std::size_t i = 0; i < 4; ++i)
        sum[i] += pixel[i] * part;
}

/// Rows of the old picture at the new width. It keeps the latest two: successive blends share one
/// or two.
class Rows {
public:
    Rows(const Picture& picture, std::uint32_t new_width)
        : pixels_(picture.rgba().data()), old_(picture.width()), axis_(picture.width(), new_width)
    {
        kept_.fill({picture.height(), Row(new_width)});
    }

    const Row& operator[](std::uint32_t y)
    {
        Kept& kept = kept_[y % kept_.size()];
        if (kept.y != y) {
            kept.y = y;
            resize(y, kept.row);
        }
        return kept.row;
    }

private:
    struct Kept {
        std::uint32_t y = 0;
        Row row;
    };

    void resize(std::uint32_t y, Row& row)
    {
        multiply_by_alpha(pixels_ + std::size_t{y} * old_.size() * 4);
        for (std::uint32_t x = 0; x < row.size(); ++x) {
            const Blend& blend = axis_[x];
            const float* parts = axis_.parts_of(blend);
            Pixel sum{};
            for (std::uint32_t i = 0; i < blend.count; ++i)
                add(sum, old_[blend.first + i], parts[i]);
            row[x] = sum;
        }
    }

    void multiply_by_alpha(const std::uint8_t* rgba)
    {
        for (Pixel& pixel : old_) {
            const float alpha = rgba[3];
            pixel = {rgba[0] * alpha, rgba[1] * alpha, rgba[2] * alpha, alpha};
            rgba += 4;
        }
    }

    const std::uint8_t* pixels_;
    Row old_;
    Axis axis_;
    std::array<Kept, 2> kept_;
};

void store(const Row& row, std::uint8_t* rgba)
{
    for (const Pixel& pixel : row) {
        // Below half a step of alpha nothing can be seen, and the colour would be noise.
        const bool is_visible = pixel[3] >= 0.5F;
        for (std::size_t i = 0; i < 3; ++i) {
            const float value = is_visible ? pixel[i] / pixel[3] : 0;
            rgba[i] = static_cast<std::uint8_t>(std::min(value + 0.5F, 255.0F));
        }
        rgba[3] = static_cast<std::uint8_t>(std::min(pixel[3] + 0.5F, 255.0F));
        rgba += 4;
    }
}

} // namespace

Picture scaled(const Picture& picture, std::uint32_t width, std::uint32_t height)
{
    const Axis vertical(picture.height(), height);
    Rows rows(picture, width);
    Row sum(width);
    std::vector<std::uint8_t> rgba(std::size_t{width} * height * 4);
    for (std::uint32_t y = 0; y < height; ++y) {
        const Blend& blend = vertical[y];
        const float* parts = vertical.parts_of(blend);
        std::fill(sum.begin(), sum.end(), Pixel{});
        for (std::uint32_t i = 0; i < blend.count; ++i) {
            const Row& row = rows[blend.first + i];
            for (std::uint32_t x = 0; x < width; ++x)
                add(sum[x], row[x], parts[i]);
        }
        store(sum, &rgba[std::size_t{y} * width * 4]);
    }
    return {width, height, std::move(rgba)};
}

} // namespace orv::picture
