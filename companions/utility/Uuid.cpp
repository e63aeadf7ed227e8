#include "utility/Uuid.hpp"

#include "utility/RandomBytes.hpp"

#include <array>
#include <cstddef>

namespace orv {
namespace {

constexpr std::string_view digits = "0123456789abcdef";
constexpr std::string_view form = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";

} // namespace

std::string new_uuid()
{
    std::array<unsigned char, 16> bytes{};
    fill_randomly(std::as_writable_bytes(std::span(bytes)));
    bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0F) | 0x40); // version 4: random
    bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3F) | 0x80);

    std::string text(form);
    std::size_t digit = 0;
    for (char& c : text) {
        if (c == '-')
            continue;
        const unsigned byte = bytes[digit / 2];
        c = digits[digit++ % 2 == 0 ? byte >> 4 : byte & 0xF];
    }
    return text;
}

bool is_uuid(std::string_view text)
{
    if (text.size() != form.size())
        return false;
    for (std::size_t i = 0; i < form.size(); ++i)
        if (form[i] == '-' ? text[i] != '-' : digits.find(text[i]) == std::string_view::npos)
            return false;
    return true;
}

} // namespace orv
