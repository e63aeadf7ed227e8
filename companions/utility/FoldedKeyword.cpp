#include "utility/FoldedKeyword.hpp"

#include "utility/Utf8.hpp"

#include <algorithm>
#include <new>
#include <optional>

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/uniset.h>
#include <unicode/utf16.h>

namespace orv {
namespace {

constexpr char32_t turkic_i = 0x0131;
constexpr UChar32 first_hangul_syllable = 0xAC00;
constexpr UChar32 last_hangul_syllable = 0xD7A3;

void check(UErrorCode status)
{
    if (U_FAILURE(status))
        throw std::bad_alloc();
}

const icu::Normalizer2& composition()
{
    static const icu::Normalizer2& nfc = [&]() -> const icu::Normalizer2& {
        UErrorCode status = U_ZERO_ERROR;
        const icu::Normalizer2* instance = icu::Normalizer2::getNFCInstance(status);
        check(status);
        return *instance;
    }();
    return nfc;
}

char32_t code_point_at(std::u16string_view text, std::size_t at)
{
    const bool is_pair = U16_IS_LEAD(text[at]) && at + 1 < text.size();
    return is_pair ? static_cast<char32_t>(U16_GET_SUPPLEMENTARY(text[at], text[at + 1]))
                   : text[at];
}

std::u32string code_points(std::u16string_view text)
{
    std::u32string result;
    for (std::size_t at = 0; at < text.size();
         at += static_cast<std::size_t>(U16_LENGTH(result.back())))
        result += code_point_at(text, at);
    return result;
}

/// The characters folding or decomposing changes, without ASCII and Hangul.
icu::UnicodeSet changed_characters()
{
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeSet set;
    set.applyIntPropertyValue(UCHAR_NFD_QUICK_CHECK, UNORM_NO, status);
    const USet* folding = u_getBinaryPropertySet(UCHAR_CHANGES_WHEN_CASEFOLDED, &status);
    check(status);
    set.addAll(*icu::UnicodeSet::fromUSet(folding));
    set.remove(0, 0x7F);
    set.remove(first_hangul_syllable, last_hangul_syllable);
    return set;
}

/// `c` by itself, folded; none if the result is too long to handle.
std::optional<FoldedCharacter> folded_alone(UChar32 c, FoldingRules rules)
{
    const std::u32string characters = code_points(folded(utf8_of(static_cast<char32_t>(c)), rules));
    if (characters.size() > FoldedCharacter::max_size)
        return std::nullopt;
    FoldedCharacter result;
    for (const char32_t character : characters)
        result.characters[result.size++] = character;
    return result;
}

/// True if a byte is a character that folds to one other in every language; nearly all do.
bool is_plain(char byte)
{
    return static_cast<unsigned char>(byte) < 0x80 && byte != 'I';
}

char32_t lower_ascii_char(char32_t c)
{
    return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c;
}

} // namespace

bool begins_composed(char32_t c)
{
    constexpr char32_t first_mark = 0x0300;
    return c < first_mark || composition().hasBoundaryBefore(static_cast<UChar32>(c)) != 0;
}

FoldedKeyword::FoldedKeyword(std::string_view keyword, FoldingRules rules)
    : rules_(rules), folded_(orv::folded(keyword, rules)), text_(code_points(folded_))
{
    for (const char32_t c : text_)
        begins_.push_back(orv::begins_composed(c));
    characters_ = text_;
    std::sort(characters_.begin(), characters_.end());
    characters_.erase(std::unique(characters_.begin(), characters_.end()), characters_.end());
    if (!text_.empty())
        find_variants();
    find_borders();
}

/// How much of the keyword's beginning is still there when, after so many units, another follows.
void FoldedKeyword::find_borders()
{
    borders_.assign(folded_.size() + 1, 0);
    for (std::size_t size = 2; size <= folded_.size(); ++size) {
        std::size_t border = borders_[size - 1];
        while (border > 0 && folded_[border] != folded_[size - 1])
            border = borders_[border];
        borders_[size] = border + (folded_[border] == folded_[size - 1] ? 1U : 0U);
    }
}

bool FoldedKeyword::holds(char32_t c) const
{
    return std::binary_search(characters_.begin(), characters_.end(), c);
}

void FoldedKeyword::find_variants()
{
    const auto add = [this](UChar32 c) {
        const auto folded = folded_alone(c, rules_);
        if (folded && std::any_of(folded->begin(), folded->end(),
                                  [this](char32_t part) { return holds(part); }))
            variants_.push_back({static_cast<char32_t>(c), *folded});
    };
    const icu::UnicodeSet changed = changed_characters();
    for (std::int32_t range = 0; range < changed.getRangeCount(); ++range)
        for (UChar32 c = changed.getRangeStart(range); c <= changed.getRangeEnd(range); ++c)
            add(c);
    for (std::size_t i = 0; i + 1 < text_.size(); ++i) {
        const auto at = [this](std::size_t index) { return static_cast<UChar32>(text_[index]); };
        const UChar32 syllable = composition().composePair(at(i), at(i + 1));
        if (syllable < first_hangul_syllable || syllable > last_hangul_syllable)
            continue;
        add(syllable);
        if (i + 2 < text_.size())
            if (const UChar32 full = composition().composePair(syllable, at(i + 2)); full >= 0)
                add(full);
    }
    std::sort(variants_.begin(), variants_.end(),
              [](const Variant& a, const Variant& b) { return a.character < b.character; });
}

FoldedCharacter FoldedKeyword::folded(char32_t c) const
{
    if (c == 'I' && rules_.turkic)
        return {{turkic_i}, 1};
    if (c < 0x80)
        return {{lower_ascii_char(c)}, 1};
    const auto found = std::lower_bound(
        variants_.begin(), variants_.end(), c,
        [](const Variant& variant, char32_t character) { return variant.character < character; });
    if (found != variants_.end() && found->character == c)
        return found->folded;
    return {{c}, 1};
}

bool FoldedKeyword::may_provide(const FoldedCharacter& folded, std::size_t index) const
{
    for (std::size_t i = 0; i < folded.size; ++i)
        if (folded.characters[i] == text_[index] &&
            fits(folded, static_cast<std::ptrdiff_t>(index) - static_cast<std::ptrdiff_t>(i)))
            return true;
    return false;
}

/// True if `folded` can stand at `index`, or before the keyword if `index` is negative. Marks may
/// have another order in the text, with others among them.
bool FoldedKeyword::fits(const FoldedCharacter& folded, std::ptrdiff_t index) const
{
    for (std::size_t i = 0; i < folded.size; ++i, ++index) {
        const char32_t c = folded.characters[i];
        if (index < 0)
            continue;
        const auto place = static_cast<std::size_t>(index);
        if (place == text_.size())
            return orv::begins_composed(c);
        if (c == text_[place])
            continue;
        return !begins_[place] &&
               std::all_of(folded.begin() + i, folded.end(), [this](char32_t mark) {
                   return orv::begins_composed(mark) || holds(mark);
               });
    }
    return true;
}

FoldedKeyword::Verdict FoldedKeyword::verdict(std::string_view text, std::size_t at,
                                              std::size_t index, std::size_t& steps) const
{
    if (!begins_character(text, at))
        return Verdict::no;
    const FoldedCharacter first = folded(code_point(text, at, character_at(text, at).code_point));
    Verdict result = Verdict::no;
    for (std::size_t i = 0; i < first.size && result != Verdict::yes; ++i) {
        if (first.characters[i] != text_[index])
            continue;
        const auto begin = static_cast<std::ptrdiff_t>(index) - static_cast<std::ptrdiff_t>(i);
        const Verdict ahead = forward(text, at, begin, steps);
        if (ahead != Verdict::no)
            result = std::max(result, std::min(ahead, backward(text, at, begin, steps)));
    }
    return result;
}

bool FoldedKeyword::stands_in_folded(std::string_view text) const
{
    if (folded_.empty())
        return false;
    const std::u16string whole = orv::folded(text, rules_);
    std::size_t matched = 0;
    for (std::size_t end = 1; end <= whole.size(); ++end) {
        while (matched > 0 && (matched == folded_.size() || folded_[matched] != whole[end - 1]))
            matched = borders_[matched];
        matched += folded_[matched] == whole[end - 1] ? 1U : 0U;
        if (matched < folded_.size())
            continue;
        const std::size_t begin = end - matched;
        const bool cuts_pair = begin > 0 && U16_IS_LEAD(whole[begin - 1]);
        if (!cuts_pair && (end == whole.size() || orv::begins_composed(code_point_at(whole, end))))
            return true;
    }
    return false;
}

char32_t FoldedKeyword::code_point(std::string_view text, std::size_t at, int decoded) const
{
    constexpr char32_t stray_byte = 0xDC00;
    if (decoded >= 0)
        return static_cast<char32_t>(decoded);
    return (rules_.stray_bytes_are_latin_1 ? 0 : stray_byte) + static_cast<unsigned char>(text[at]);
}

/// True if the folded form of `c`, with its end at `end`, depends on its neighbours: a mark may
/// change places with others, and a dot may follow an i.
bool FoldedKeyword::depends_on_neighbours(std::string_view text, char32_t c, std::size_t end) const
{
    return !orv::begins_composed(c) || (rules_.turkic && c == 'I' && end < text.size() &&
                                        static_cast<unsigned char>(text[end]) >= 0x80);
}

/// The match if another character stands at `index`.
FoldedKeyword::Verdict FoldedKeyword::mismatch(std::ptrdiff_t index) const
{
    return begins_[static_cast<std::size_t>(index)] ? Verdict::no : Verdict::unsure;
}

/// The match if the keyword stands before `at`, or before the last part of the character there.
FoldedKeyword::Verdict FoldedKeyword::ending(std::string_view text, std::size_t at) const
{
    if (at == text.size())
        return Verdict::yes;
    const char32_t next = code_point(text, at, character_at(text, at).code_point);
    return orv::begins_composed(next) ? Verdict::yes : Verdict::unsure;
}

/// True if the keyword from `index` on stands at `at`. With a negative `index` the keyword begins
/// inside the folded form of the character there.
FoldedKeyword::Verdict FoldedKeyword::forward(std::string_view text, std::size_t at,
                                              std::ptrdiff_t index, std::size_t& steps) const
{
    const auto size = static_cast<std::ptrdiff_t>(text_.size());
    for (; index < size; ++steps) {
        if (at == text.size())
            return Verdict::no;
        if (is_plain(text[at]) && index >= 0) {
            if (lower_ascii_char(static_cast<unsigned char>(text[at])) !=
                text_[static_cast<std::size_t>(index)])
                return mismatch(index);
            ++at;
            ++index;
            continue;
        }
        const Utf8Character character = character_at(text, at);
        const char32_t c = code_point(text, at, character.code_point);
        at = character.end;
        if (depends_on_neighbours(text, c, at))
            return Verdict::unsure;
        for (const char32_t part : folded(c)) {
            if (index == size)
                return orv::begins_composed(part) ? ending(text, at) : Verdict::unsure;
            if (index >= 0 && part != text_[static_cast<std::size_t>(index)])
                return mismatch(index);
            ++index;
        }
    }
    return ending(text, at);
}

/// True if the keyword up to `index` stands before `at`.
FoldedKeyword::Verdict FoldedKeyword::backward(std::string_view text, std::size_t at,
                                               std::ptrdiff_t index, std::size_t& steps) const
{
    for (; index > 0; ++steps) {
        if (at == 0)
            return Verdict::no;
        if (is_plain(text[at - 1])) {
            if (lower_ascii_char(static_cast<unsigned char>(text[at - 1])) !=
                text_[static_cast<std::size_t>(index - 1)])
                return mismatch(index - 1);
            --at;
            --index;
            continue;
        }
        const Utf8Character character = character_before(text, at);
        at = character.begin;
        const char32_t c = code_point(text, at, character.code_point);
        if (depends_on_neighbours(text, c, character.end))
            return Verdict::unsure;
        const FoldedCharacter parts = folded(c);
        for (std::size_t i = parts.size; i-- > 0 && index > 0; --index)
            if (parts.characters[i] != text_[static_cast<std::size_t>(index - 1)])
                return mismatch(index - 1);
    }
    return Verdict::yes;
}

} // namespace orv
