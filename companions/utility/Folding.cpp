#include "utility/Folding.hpp"

#include <cstdint>
#include <new>

#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/unistr.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

// ICU's macros mix char, uint8_t and int throughout.
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"

namespace orv {
namespace {

// A byte outside UTF-8 becomes the trailing surrogate 0xDC00 + byte. No text has a lone surrogate,
// so none can pass for a character, and ICU leaves it alone.
constexpr UChar32 stray_byte = 0xDC00;

constexpr char16_t dot_above = 0x0307;
constexpr std::uint8_t class_above = 230;

const icu::Normalizer2& decomposition()
{
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* nfd = icu::Normalizer2::getNFDInstance(status);
    if (U_FAILURE(status))
        throw std::bad_alloc();
    return *nfd;
}

icu::UnicodeString decoded(std::string_view text, FoldingRules rules)
{
    const UChar32 stray = rules.stray_bytes_are_latin_1 ? 0 : stray_byte;
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
                    stray + static_cast<unsigned char>(text[static_cast<std::size_t>(i)]));
        }
        at = next;
    }
    result.releaseBuffer(length);
    return result;
}

void decompose(icu::UnicodeString& text)
{
    UErrorCode status = U_ZERO_ERROR;
    if (!decomposition().isNormalized(text, status))
        text = decomposition().normalize(text, status);
    if (U_FAILURE(status))
        throw std::bad_alloc();
}

/// The place of the dot above after the letter before `at`; -1 if there is none.
std::int32_t dot_of_letter_before(const icu::UnicodeString& text, std::int32_t at)
{
    while (at < text.length()) {
        const UChar32 c = text.char32At(at);
        if (c == dot_above)
            return at;
        const std::uint8_t combining_class = decomposition().getCombiningClass(c);
        if (combining_class == 0 || combining_class == class_above)
            break;
        at += U16_LENGTH(c);
    }
    return -1;
}

/// Makes an I with a dot above, a capital i in such text, a small one, in decomposed text. Folding
/// by itself knows the composed letter only.
void lower_dotted_i(icu::UnicodeString& text)
{
    for (std::int32_t at = text.indexOf(u'I'); at >= 0; at = text.indexOf(u'I', at + 1)) {
        const std::int32_t dot = dot_of_letter_before(text, at + 1);
        if (dot >= 0) {
            text.setCharAt(at, u'i');
            text.remove(dot, 1);
        }
    }
}

} // namespace

FoldingRules users_folding_rules()
{
    const std::string_view language = icu::Locale::getDefault().getLanguage();
    return {.turkic = language == "tr" || language == "az"};
}

std::u16string folded(std::string_view text, FoldingRules rules)
{
    icu::UnicodeString result = decoded(text, rules);
    decompose(result);
    if (rules.turkic)
        lower_dotted_i(result);
    result.foldCase(rules.turkic ? U_FOLD_CASE_EXCLUDE_SPECIAL_I : U_FOLD_CASE_DEFAULT);
    decompose(result);
    return {result.getBuffer(), static_cast<std::size_t>(result.length())};
}

} // namespace orv
