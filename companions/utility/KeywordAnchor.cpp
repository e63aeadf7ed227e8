#include "utility/KeywordAnchor.hpp"

#include "utility/Utf8.hpp"

#include <algorithm>
#include <bit>
#include <limits>
#include <string_view>

namespace orv {
namespace {

using Byte = BytePair::Byte;

constexpr Byte any_byte{0, 0};
constexpr Byte high_byte{0x80, 0x80};
constexpr std::uint8_t but_case = 0xDF;
constexpr std::size_t max_forms = 16;
constexpr std::size_t max_candidates = 256; // more promise hardly fewer hits

Byte exactly(std::uint8_t byte)
{
    return {0xFF, byte};
}

bool is_ascii_char(char32_t c)
{
    return c < 0x80;
}

/// The byte of the folded ASCII character `c`, a letter in either case.
Byte ascii_byte(char32_t c)
{
    const auto byte = static_cast<std::uint8_t>(c);
    if (c >= 'a' && c <= 'z')
        return {but_case, static_cast<std::uint8_t>(byte & but_case)};
    return exactly(byte);
}

/// The rough number of each byte in a text of 1000.
double frequency(const Byte& byte)
{
    constexpr std::string_view letters = "etaoinsrhldcumfpgwybvkxjqz";
    constexpr double values[] = {100, 75, 70, 65, 65, 60, 55, 52, 45, 36, 35, 30, 28,
                                 24,  20, 19, 18, 15, 15, 14, 10, 7,  3,  2,  1,  2};
    if (byte.mask == any_byte.mask)
        return 1000;
    if (byte.is_high())
        return byte == high_byte ? 100 : 10;
    if (byte.value == ' ')
        return 150;
    const std::size_t letter = letters.find(static_cast<char>(byte.value | 0x20));
    return letter == std::string_view::npos ? 8 : values[letter];
}

/// Collects the forms of the characters of one keyword.
class Forms {
public:
    explicit Forms(const FoldedKeyword& keyword) : keyword_(keyword) {}

    [[nodiscard]] std::vector<AnchorForm> of(std::size_t index)
    {
        forms_.clear();
        if (is_ascii_char(keyword_.text()[index]))
            add_ascii(index);
        add_others(index);
        merge();
        return std::move(forms_);
    }

    /// True if all forms of the character are known. A mark may be part of any, and a Turkish i may
    /// have its dot after it.
    [[nodiscard]] bool is_fit(std::size_t index) const
    {
        return keyword_.begins_composed(index) && !is_turkic_i(index);
    }

private:
    [[nodiscard]] bool is_turkic_i(std::size_t index) const
    {
        constexpr char32_t dotless_i = 0x0131;
        const char32_t c = keyword_.text()[index];
        return keyword_.rules().turkic && (c == 'i' || c == dotless_i);
    }

    /// The character as one byte, and the next byte.
    void add_ascii(std::size_t index)
    {
        const std::u32string& text = keyword_.text();
        const Byte first = ascii_byte(text[index]);
        const std::size_t next = index + 1;
        if (next == text.size() || is_turkic_i(next)) {
            add({first, any_byte}, 0, index);
        } else if (!is_ascii_char(text[next])) {
            add({first, high_byte}, 0, index);
        } else {
            add({first, ascii_byte(text[next])}, 0, index);
            add_others(next);
        }
    }

    /// The character in all forms but one ASCII byte.
    void add_others(std::size_t index)
    {
        const char32_t c = keyword_.text()[index];
        if (!is_ascii_char(c))
            add_character(c, index);
        for (const FoldedKeyword::Variant& variant : keyword_.variants())
            if (keyword_.may_provide(variant.folded, index))
                add_character(variant.character, index);
    }

    void add_character(char32_t c, std::size_t index)
    {
        constexpr char32_t first_stray = 0xDC80;
        constexpr char32_t last_stray = 0xDCFF;
        if (c >= first_stray && c <= last_stray)
            return add({exactly(static_cast<std::uint8_t>(c)), any_byte}, 0, index);
        if (keyword_.rules().stray_bytes_are_latin_1 && c <= 0xFF)
            add({exactly(static_cast<std::uint8_t>(c)), any_byte}, 0, index);
        const std::string utf8 = utf8_of(c);
        const std::size_t before = utf8.size() - 2;
        add({exactly(static_cast<std::uint8_t>(utf8[before])),
             exactly(static_cast<std::uint8_t>(utf8[before + 1]))},
            before, index);
    }

    void add(BytePair bytes, std::size_t bytes_before, std::size_t index)
    {
        forms_.push_back({bytes, bytes_before, index});
    }

    /// Merges two forms with one different bit, as the cases of a letter often have.
    void merge()
    {
        for (std::size_t i = 0; i < forms_.size(); ++i)
            for (std::size_t j = i + 1; j < forms_.size(); ++j)
                if (merged(forms_[i], forms_[j])) {
                    forms_.erase(forms_.begin() + static_cast<std::ptrdiff_t>(j));
                    j = i;
                }
    }

    static bool merged(AnchorForm& form, const AnchorForm& other)
    {
        Byte& first = form.bytes.first;
        Byte& second = form.bytes.second;
        if (form.bytes_before != other.bytes_before || form.index != other.index)
            return false;
        if (second == other.bytes.second)
            return merged(first, other.bytes.first);
        return first == other.bytes.first && merged(second, other.bytes.second);
    }

    static bool merged(Byte& byte, const Byte& other)
    {
        const auto difference = static_cast<std::uint8_t>(byte.value ^ other.value);
        if (byte.mask != other.mask || std::popcount(difference) > 1)
            return false;
        byte.mask = static_cast<std::uint8_t>(byte.mask & ~difference);
        byte.value = static_cast<std::uint8_t>(byte.value & byte.mask);
        return true;
    }

    const FoldedKeyword& keyword_;
    std::vector<AnchorForm> forms_;
};

/// The cost of a search for the forms: hits, and a little for each form by itself.
double cost_of(const std::vector<AnchorForm>& forms)
{
    double cost = 0;
    for (const AnchorForm& form : forms)
        cost += frequency(form.bytes.first) * frequency(form.bytes.second) + 100;
    return cost;
}

} // namespace

std::vector<AnchorForm> rarest_anchor(const FoldedKeyword& keyword)
{
    if (keyword.text().empty() || !keyword.begins_composed(0))
        return {};
    Forms forms(keyword);
    std::vector<AnchorForm> rarest;
    double least = std::numeric_limits<double>::infinity();
    const std::size_t candidates = std::min(keyword.text().size(), max_candidates);
    for (std::size_t index = 0; index < candidates; ++index) {
        if (!forms.is_fit(index))
            continue;
        std::vector<AnchorForm> candidate = forms.of(index);
        if (const double cost = cost_of(candidate); candidate.size() <= max_forms && cost < least) {
            least = cost;
            rarest = std::move(candidate);
        }
    }
    return rarest;
}

} // namespace orv
