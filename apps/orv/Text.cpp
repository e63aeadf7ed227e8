#include "Text.hpp"

#include <algorithm>
#include <cwchar>

#include <fmt/format.h>

namespace orv::app {
namespace {

/// The rules for one length of a UTF-8 sequence: the form of its first byte, and the least code
/// point of that length.
struct SequenceForm {
    unsigned char mask;
    unsigned char lead;
    char32_t least;
};

constexpr SequenceForm sequence_forms[] = {
    {0x80, 0x00, 0}, {0xE0, 0xC0, 0x80}, {0xF0, 0xE0, 0x800}, {0xF8, 0xF0, 0x10000}};

unsigned char byte_at(std::string_view text, std::size_t index)
{
    return static_cast<unsigned char>(text[index]);
}

bool is_scalar(char32_t code_point)
{
    return code_point <= 0x10FFFF && (code_point < 0xD800 || code_point > 0xDFFF);
}

std::optional<char32_t> decoded(std::string_view text, std::size_t length, SequenceForm form)
{
    if (text.size() < length)
        return std::nullopt;
    char32_t code_point = byte_at(text, 0) & static_cast<unsigned char>(~form.mask);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte_at(text, i) & 0xC0) != 0x80)
            return std::nullopt;
        code_point = code_point << 6 | (byte_at(text, i) & 0x3F);
    }
    if (code_point < form.least || !is_scalar(code_point))
        return std::nullopt;
    return code_point;
}

std::string escape(char32_t code_point)
{
    switch (code_point) {
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    default:
        return fmt::format("\\u{:04x}", static_cast<unsigned>(code_point));
    }
}

std::size_t columns_of(const Character& character)
{
    const int width = ::wcwidth(static_cast<wchar_t>(character.code_point.value_or(U'?')));
    return width < 0 ? 1 : static_cast<std::size_t>(width);
}

} // namespace

Character first_character(std::string_view text)
{
    std::size_t length = 0;
    for (const SequenceForm& form : sequence_forms) {
        ++length;
        if ((byte_at(text, 0) & form.mask) != form.lead)
            continue;
        const auto code_point = decoded(text, length, form);
        return {code_point, code_point ? length : 1};
    }
    return {std::nullopt, 1};
}

bool is_control(char32_t code_point)
{
    return code_point < 0x20 || (code_point >= 0x7F && code_point < 0xA0) || code_point == 0x2028 ||
           code_point == 0x2029;
}

std::string printable(std::string_view bytes)
{
    std::string text;
    while (!bytes.empty()) {
        const Character next = first_character(bytes);
        if (!next.code_point)
            text += fmt::format("\\x{:02x}", byte_at(bytes, 0));
        else if (is_control(*next.code_point))
            text += escape(*next.code_point);
        else
            text += bytes.substr(0, next.length);
        bytes.remove_prefix(next.length);
    }
    return text;
}

std::size_t columns_of(std::string_view text)
{
    std::size_t columns = 0;
    while (!text.empty()) {
        const Character next = first_character(text);
        columns += columns_of(next);
        text.remove_prefix(next.length);
    }
    return columns;
}

std::string cut_to(std::size_t columns, std::string_view text)
{
    if (columns_of(text) <= columns)
        return std::string(text);
    if (columns == 0)
        return {};
    std::size_t used = 1; // the "…"
    std::size_t kept = 0;
    while (kept < text.size()) {
        const Character next = first_character(text.substr(kept));
        used += columns_of(next);
        if (used > columns)
            break;
        kept += next.length;
    }
    return std::string(text.substr(0, kept)) + "…";
}

} // namespace orv::app
