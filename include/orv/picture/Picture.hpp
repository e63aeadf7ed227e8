#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace orv {

/// A picture: rows of pixels from the top, with red, green, blue and alpha of a byte each, in sRGB,
/// not multiplied by alpha. Copies share the pixels, and the pixels never change.
///
/// Threading: any; different threads may use copies.
class Picture {
public:
    /// Bounds of a picture: more pixels than these would take half a gigabyte.
    static constexpr std::uint64_t max_pixels = std::uint64_t{1} << 27;
    static constexpr std::uint32_t max_side = 1'000'000;

    /// A picture of no size.
    Picture() = default;

    /// Errors: an `Error` when `rgba` does not hold `width` times `height` pixels.
    Picture(std::uint32_t width, std::uint32_t height, std::vector<std::uint8_t> rgba);

    /// Units: pixels.
    [[nodiscard]] std::uint32_t width() const noexcept { return width_; }
    [[nodiscard]] std::uint32_t height() const noexcept { return height_; }
    [[nodiscard]] bool is_empty() const noexcept { return width_ == 0 || height_ == 0; }
    [[nodiscard]] std::span<const std::uint8_t> rgba() const noexcept;

    /// True if both are copies of one picture; equal pixels are not enough.
    [[nodiscard]] bool is_same(const Picture& other) const noexcept;

    /// The picture stretched to the size given; nothing when either has no size, or when the size
    /// given is beyond `max_pixels` or `max_side`.
    [[nodiscard]] std::optional<Picture> scale_image(std::uint32_t new_width,
                                                     std::uint32_t new_height) const;

    /// Encoded as JPEG, on white where it is transparent. `quality` is from 0 to 1.
    ///
    /// Errors: an `Error` when it has no size or is larger than the format can hold.
    [[nodiscard]] std::vector<std::byte> jpeg(double quality) const;

    /// Encoded as PNG; the texts, of a key and a value each, become its text fields.
    ///
    /// Errors: an `Error` when it has no size or is larger than the format can hold, or when a
    /// text is not ASCII, or its key not of 1 to 79 characters.
    [[nodiscard]] std::vector<std::byte>
    png(const std::vector<std::pair<std::string, std::string>>& texts = {}) const;

    /// The picture in `bytes`, for trusted data alone: the application's own resources, and the
    /// results of `jpeg` and `png`. Thumbnail generators serve all other data.
    ///
    /// Errors: an `Error` when they hold no complete picture of the format, or one beyond
    /// `max_pixels` or `max_side`.
    static Picture from_jpeg(std::span<const std::byte> bytes);
    static Picture from_png(std::span<const std::byte> bytes);

private:
    std::shared_ptr<const std::vector<std::uint8_t>> pixels_;
    std::uint32_t width_ = 0;
    std::uint32_t height_ = 0;
};

} // namespace orv
