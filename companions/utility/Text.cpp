#include "utility/Text.hpp"

#include <algorithm>
#include <cstdint>
#include <new>

#include <unicode/normalizer2.h>
#include <unicode/unistr.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

// ICU's macros mix char, uint8_t and int throughout.
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"

namespace orv {
namespace {

// A byte that is no UTF-8 becomes the trailing surrogate 0xDC00 + byte. No text has one of those
// alone, so none can be taken for a character, and ICU leaves it as it is.
constexpr UChar32 stray_byte = 0xDC00;

bool is_ascii(char c)
{
    return static_cast<unsigned char>(c) < 0x80;
}

char lower_ascii(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

icu::UnicodeString decoded(std::string_view text)
{
    const auto size = static_cast<std::int32_t>(text.size());
    icu::UnicodeString result;
    char16_t* units = result.getBuffer(size); // never more units than bytes
    if (!units)
        throw std::bad_alloc();
    std::int32_t length = 0;
    for (std::int32_t at = 0; at < size;) {
        std::int32_t next = at;
        UChar32 c = 0;
        U8_NEXT(text.data(), next, size, c);
        if (c >= 0) {
            U16_APPEND_UNSAFE(units, length, c);
        } else {
            for (std::int32_t i = at; i < next; ++i)
                units[length++] = static_cast<char16_t>(
                    stray_byte + static_cast<unsigned char>(text[static_cast<std::size_t>(i)]));
        }
        at = next;
    }
    result.releaseBuffer(length);
    return result;
}

/// UTF-8 in which a stray surrogate has the three bytes that its number would have, so that the
/// order of the bytes is that of the code points throughout.
std::string encoded(const icu::UnicodeString& text)
{
    const char16_t* units = text.getBuffer();
    std::string result(3 * static_cast<std::size_t>(text.length()), '\0');
    std::size_t size = 0;
    for (std::int32_t at = 0; at < text.length();) {
        UChar32 c = 0;
        U16_NEXT(units, at, text.length(), c);
        U8_APPEND_UNSAFE(result.data(), size, c);
    }
    result.resize(size);
    return result;
}

std::string unicode_fold_key(std::string_view text)
{
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* nfd = icu::Normalizer2::getNFDInstance(status);
    if (U_FAILURE(status))
        throw std::bad_alloc();
    icu::UnicodeString folded = nfd->normalize(decoded(text), status);
    folded.foldCase();
    if (!nfd->isNormalized(folded, status))
        folded = nfd->normalize(folded, status);
    if (U_FAILURE(status))
        throw std::bad_alloc();
    return encoded(folded);
}

} // namespace

std::string fold_key(std::string_view text)
{
    if (!std::all_of(text.begin(), text.end(), is_ascii))
        return unicode_fold_key(text);
    std::string key(text);
    std::transform(key.begin(), key.end(), key.begin(), lower_ascii);
    return key;
}

std::weak_ordering compare_case_insensitively(std::string_view a, std::string_view b)
{
    // ASCII letters neither combine with what follows them nor change with it, so the first
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

std::string_view fitting_prefix(std::string_view text, std::size_t max_size)
{
    if (text.size() <= max_size)
        return text;
    auto size = static_cast<std::int32_t>(max_size);
    U8_TRUNCATE_IF_INCOMPLETE(text.data(), 0, size);
    return text.substr(0, static_cast<std::size_t>(size));
}

} // namespace orv
