#pragma once

#include <orv/picture/Picture.hpp>
#include <orv/utility/Url.hpp>

#include <array>
#include <string>
#include <vector>

namespace orv::test {

using Colour = std::array<std::uint8_t, 3>;
constexpr Colour red{255, 0, 0}, green{0, 255, 0}, blue{0, 0, 255}, white{255, 255, 255};

/// The colours of a picture's quarters: upper left, upper right, lower left, lower right.
using Quarters = std::array<Colour, 4>;
constexpr Quarters upright{red, green, blue, white};

[[nodiscard]] Picture quarters(std::uint32_t width, std::uint32_t height, const Quarters& colours);

/// Whether the picture has about these quarters, at the middle of each.
[[nodiscard]] bool shows(const Picture& picture, const Quarters& colours);

[[nodiscard]] std::string text_of(const std::vector<std::byte>& bytes);

/// A JPEG picture with an EXIF orientation.
[[nodiscard]] std::string with_orientation(const std::string& jpeg, char orientation);

/// A PDF of these objects, numbered from 1; the first is its root.
[[nodiscard]] std::string pdf_of(const std::vector<std::string>& objects,
                                 const std::string& trailer = {});

/// A stream in a PDF that draws.
[[nodiscard]] std::string pdf_drawing(const std::string& drawing);

/// A PDF of one page, its left half red; `trailer` goes into its trailer.
[[nodiscard]] std::string pdf_page(const std::string& width, const std::string& height,
                                   const std::string& trailer = {});

/// A PNG picture that claims to have that size.
[[nodiscard]] std::string png_header(std::uint32_t width, std::uint32_t height);

/// Whether one of the tools that make media is missing; says so.
[[nodiscard]] bool lacks_tools();

/// Runs a command of the shell in `folder`; the test fails when it does.
void run_in(const Url& folder, const std::string& command);

} // namespace orv::test
