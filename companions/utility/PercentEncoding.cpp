#include "utility/PercentEncoding.hpp"

#include <charconv>

namespace orv {
namespace {

/// In every locale the same.
bool is_letter_or_digit(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

} // namespace

std::string percent_encoded(std::string_view bytes, std::string_view kept)
{
    static constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    for (const char c : bytes) {
        if (is_letter_or_digit(c) || kept.find(c) != std::string_view::npos) {
            text += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            text += {'%', digits[byte >> 4], digits[byte & 0xF]};
        }
    }
    return text;
}

std::optional<std::string> percent_decoded(std::string_view text)
{
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            bytes += text[i];
            continue;
        }
        unsigned byte = 0;
        const std::string_view digits = text.substr(i + 1, 2);
        const char* end = digits.data() + digits.size();
        const auto result = std::from_chars(digits.data(), end, byte, 16);
        if (digits.size() < 2 || result.ec != std::errc() || result.ptr != end)
            return std::nullopt;
        bytes += static_cast<char>(byte);
        i += 2;
    }
    return bytes;
}

} // namespace orv
