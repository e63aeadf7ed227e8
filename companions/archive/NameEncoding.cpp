#include "archive/NameEncoding.hpp"

#include "archive/EastAsianNames.hpp"
#include "archive/NameConverter.hpp"
#include "archive/Uchardet.hpp"

#include <algorithm>
#include <memory>
#include <new>
#include <string_view>

#include <unicode/uchar.h>
#include <unicode/uscript.h>

namespace orv::archive {
namespace {

// More text makes a guess no better.
constexpr std::size_t max_bytes_judged = 64 * 1024;

using Names = std::vector<std::string*>;

/// An encoding of one alphabet, by its name in ICU, and the detector's answer for it. The detector
/// knows the encodings of pages and mails; archives hold their Windows variants.
struct Alphabet {
    std::string_view detected;
    const char* encoding;
    UScriptCode script;
};

constexpr Alphabet detected_alphabets[] = {
    {"IBM866", "ibm-866", USCRIPT_CYRILLIC},
    {"WINDOWS-1251", "windows-1251", USCRIPT_CYRILLIC},
    {"KOI8-R", "KOI8-R", USCRIPT_CYRILLIC},
    {"ISO-8859-5", "ISO-8859-5", USCRIPT_CYRILLIC},
    {"MAC-CYRILLIC", "windows-1251", USCRIPT_CYRILLIC},
    {"ISO-8859-7", "windows-1253", USCRIPT_GREEK},
    {"WINDOWS-1253", "windows-1253", USCRIPT_GREEK},
    {"ISO-8859-8", "windows-1255", USCRIPT_HEBREW},
    {"WINDOWS-1255", "windows-1255", USCRIPT_HEBREW},
    {"ISO-8859-6", "windows-1256", USCRIPT_ARABIC},
    {"WINDOWS-1256", "windows-1256", USCRIPT_ARABIC},
};

/// DOS encodings unknown to the detector.
constexpr Alphabet dos_alphabets[] = {
    {{}, "ibm-862", USCRIPT_HEBREW},
    {{}, "ibm-737", USCRIPT_GREEK},
    {{}, "ibm-720", USCRIPT_ARABIC},
};

constexpr Alphabet windows_latins[] = {
    {"ISO-8859-2", "windows-1250", USCRIPT_LATIN},
    {"ISO-8859-16", "windows-1250", USCRIPT_LATIN},
    {"WINDOWS-1250", "windows-1250", USCRIPT_LATIN},
    {"MAC-CENTRALEUROPE", "windows-1250", USCRIPT_LATIN},
    {"ISO-8859-3", "windows-1254", USCRIPT_LATIN},
    {"ISO-8859-9", "windows-1254", USCRIPT_LATIN},
    {"ISO-8859-4", "windows-1257", USCRIPT_LATIN},
    {"ISO-8859-13", "windows-1257", USCRIPT_LATIN},
};

/// The detector's answer for all names.
std::string detected_encoding(const Names& names)
{
    const auto free = [](uchardet_t detector) { uchardet_delete(detector); };
    const std::unique_ptr<uchardet, decltype(free)> detector(uchardet_new(), free);
    if (!detector)
        throw std::bad_alloc();
    std::size_t bytes = 0;
    for (const std::string* name : names) {
        if (bytes > max_bytes_judged)
            break;
        uchardet_handle_data(detector.get(), name->data(), name->size());
        uchardet_handle_data(detector.get(), "\n", 1);
        bytes += name->size();
    }
    uchardet_data_end(detector.get());
    return uchardet_get_charset(detector.get());
}

/// The non-ASCII characters of several names.
struct Found {
    std::size_t letters = 0; // of the alphabet, where such letters may stand
    std::size_t others = 0;
};

bool is_letter_of(UChar32 c, UScriptCode script)
{
    // These Latin letters of code pages 437 and 850 stand in no name.
    constexpr UChar32 florin = 0x0192;
    constexpr UChar32 feminine = 0x00AA;
    constexpr UChar32 masculine = 0x00BA;
    UErrorCode status = U_ZERO_ERROR;
    return u_isalpha(c) && uscript_getScript(c, &status) == script && c != florin &&
           c != feminine && c != masculine;
}

/// Points and marks among the letters of any alphabet.
bool is_neutral(UChar32 c)
{
    constexpr UChar32 no_break_space = 0x00A0;
    constexpr UChar32 numero = 0x2116;
    constexpr std::u32string_view others = U"\u00A1\u00AB\u00B0\u00BB\u00BF\u00B7";
    return c == no_break_space || c == numero || (c >= 0x2010 && c <= 0x2026) ||
           others.find(static_cast<char32_t>(c)) != others.npos ||
           u_charType(c) == U_NON_SPACING_MARK;
}

void judge(const icu::UnicodeString& text, UScriptCode script, Found& found)
{
    UChar32 before = ' ';
    for (std::int32_t at = 0; at < text.length(); at = text.moveIndex32(at, 1)) {
        const UChar32 c = text.char32At(at);
        const bool is_foreign = script != USCRIPT_LATIN && before < 0x80 && u_isalpha(before);
        const bool is_odd_case = u_isupper(c) && u_islower(before);
        if (c >= 0x80 && !is_neutral(c)) {
            const bool fits = is_letter_of(c, script) && !is_foreign && !is_odd_case;
            ++(fits ? found.letters : found.others);
        }
        before = c;
    }
}

/// The fit names must have to an alphabet: one odd character for so many letters, and a minimum of
/// letters.
struct Strictness {
    std::size_t letters_for_odd_one;
    std::size_t min_letters = 1;
};
constexpr Strictness mostly{10};
constexpr Strictness strictly{2 * max_bytes_judged};
constexpr Strictness strictly_by_several{2 * max_bytes_judged, 4};

/// True if the characters beyond ASCII are letters of the alphabet.
bool fits(const Names& names, const char* encoding, UScriptCode script,
          const Strictness& strictness)
{
    const NameConverter converter(encoding);
    Found found;
    std::size_t bytes = 0;
    for (const std::string* name : names) {
        if (bytes > max_bytes_judged)
            break;
        const auto text = converter.decoded(*name);
        if (!text)
            return false;
        judge(*text, script, found);
        bytes += name->size();
    }
    return found.letters >= strictness.min_letters &&
           found.others * strictness.letters_for_odd_one <= found.letters;
}

/// In code page 437 E1 is the sharp s of German, always after a vowel; elsewhere it is an a with an
/// accent.
bool has_sharp_s_in_odd_places(const Names& names)
{
    constexpr std::string_view vowels = "aeiouAEIOU\x81\x84\x94";
    return std::any_of(names.begin(), names.end(), [&](const std::string* name) {
        for (std::size_t at = name->find('\xE1'); at != std::string::npos;
             at = name->find('\xE1', at + 1))
            if (at == 0 || vowels.find((*name)[at - 1]) == std::string_view::npos)
                return true;
        return false;
    });
}

/// Among Latin letters these bytes are letters in the code pages of DOS only.
bool has_letters_of_dos(const Names& names)
{
    constexpr std::string_view letters = "\x81\x82\x83\x84\x87\x88\x8B\x94\x98\xA0\xA2\xA4";
    return std::any_of(names.begin(), names.end(), [&](const std::string* name) {
        return name->find_first_of(letters) != std::string::npos;
    });
}

const char* guess_latin(const Names& names, std::string_view detected)
{
    if (fits(names, encoding_of_the_format, USCRIPT_LATIN, strictly) &&
        (has_letters_of_dos(names) || !has_sharp_s_in_odd_places(names)))
        return encoding_of_the_format;
    const auto first_that_fits = [&](std::initializer_list<const char*> encodings) -> const char* {
        for (const char* encoding : encodings)
            if (fits(names, encoding, USCRIPT_LATIN, strictly))
                return encoding;
        return nullptr;
    };
    if (detected == "IBM852" || has_letters_of_dos(names))
        if (const char* dos = detected == "IBM852"
                                  ? first_that_fits({"ibm-852", "ibm-850", "ibm-857"})
                                  : first_that_fits({"ibm-850", "ibm-857", "ibm-852"}))
            return dos;
    for (const Alphabet& alphabet : windows_latins)
        if (alphabet.detected == detected && fits(names, alphabet.encoding, USCRIPT_LATIN, mostly))
            return alphabet.encoding;
    if (fits(names, "windows-1252", USCRIPT_LATIN, mostly))
        return "windows-1252";
    return encoding_of_the_format;
}

} // namespace

const char* guess_encoding(const Names& names)
{
    const std::string detected = detected_encoding(names);
    for (const Alphabet& alphabet : detected_alphabets)
        if (alphabet.detected == detected &&
            fits(names, alphabet.encoding, alphabet.script, mostly))
            return alphabet.encoding;
    for (const Alphabet& alphabet : dos_alphabets)
        if (fits(names, alphabet.encoding, alphabet.script, strictly_by_several))
            return alphabet.encoding;
    if (const char* encoding = guess_east_asian_encoding(names))
        return encoding;
    return guess_latin(names, detected);
}

} // namespace orv::archive
