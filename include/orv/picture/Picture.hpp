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

/// A picture: rows of pixels from the top, each of red, green, blue and alpha, a byte each, in sRGB
/// and not multiplied by alpha. Copies share the pixels, which never change.
///
/// Threading: any; copies may be used on different threads.
class Picture {
public:
    /// No picture is made larger than this: it would take half a gigabyte.
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

    /// Whether both are copies of one picture; equal pixels are not enough.
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

    /// The picture in `bytes`, for files that the application trusts: its own resources, what
    /// `jpeg` and `png` made. Others are for the thumbnail generators.
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
