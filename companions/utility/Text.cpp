#include "utility/Text.hpp"

#include "utility/Folding.hpp"
#include "utility/Utf8.hpp"

#include <algorithm>
#include <cstdint>

#include <unicode/uchar.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

// ICU's macros mix char, uint8_t and int throughout.
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"

namespace orv {
namespace {

bool is_ascii(char c)
{
    return static_cast<unsigned char>(c) < 0x80;
}

char lower_ascii(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// UTF-8 in which a stray surrogate has the three bytes of its number, to keep the order of bytes
/// that of the code points.
std::string encoded(const std::u16string& text)
{
    std::string result(3 * text.size(), '\0');
    std::size_t size = 0;
    for (std::size_t at = 0; at < text.size();) {
        UChar32 c = 0;
        U16_NEXT(text, at, text.size(), c);
        U8_APPEND_UNSAFE(result.data(), size, c);
    }
    result.resize(size);
    return result;
}

} // namespace

std::string fold_key(std::string_view text)
{
    if (!std::all_of(text.begin(), text.end(), is_ascii))
        return encoded(folded(text));
    std::string key(text);
    std::transform(key.begin(), key.end(), key.begin(), lower_ascii);
    return key;
}

std::weak_ordering compare_case_insensitively(std::string_view a, std::string_view b)
{
    // ASCII letters neither combine with their successors nor change with them. The first
    // difference among them decides, and keys are needed only from the first other byte on.
    const std::size_t shared = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < shared; ++i) {
        if (!is_ascii(a[i]) || !is_ascii(b[i]))
            return fold_key(a.substr(i)) <=> fold_key(b.substr(i));
        if (const auto order = lower_ascii(a[i]) <=> lower_ascii(b[i]); order != 0)
            return order;
    }
    return a.size() <=> b.size();
}

std::string lower_case(std::string_view text)
{
    std::string lowered;
    for (std::size_t at = 0; at < text.size();) {
        const Utf8Character character = character_at(text, at);
        if (character.code_point < 0)
            lowered += text[at];
        else
            lowered += utf8_of(static_cast<char32_t>(::u_tolower(character.code_point)));
        at = character.end;
    }
    return lowered;
}

std::string_view fitting_prefix(std::string_view text, std::size_t max_size)
{
    if (text.size() <= max_size)
        return text;
    auto size = static_cast<std::int32_t>(max_size);
    U8_TRUNCATE_IF_INCOMPLETE(text.data(), 0, size);
    return text.substr(0, static_cast<std::size_t>(size));
}

} // namespace orv
