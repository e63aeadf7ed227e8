#include "archive/EastAsianNames.hpp"

#include "archive/NameConverter.hpp"

#include <algorithm>
#include <array>
#include <string_view>

namespace orv::archive {
namespace {

// In western names, non-ASCII letters stand alone among others, and read as one two-byte character
// with the next letter; in East Asian names they stand beside each other.
constexpr double worth_when_alone = 0.25;
constexpr double least_score = 0.5;

// More names make a guess no better.
constexpr std::size_t max_characters_judged = 4096;

/// The frequency of the character of these two bytes in names, from 0 to 1: each encoding begins
/// with the common characters, so a wrong guess shows as a choice of rare ones.
using UsualIn = double (*)(unsigned lead, unsigned trail);

bool is_within(unsigned byte, unsigned first, unsigned last)
{
    return byte >= first && byte <= last;
}

double usual_in_japanese(unsigned lead, unsigned trail)
{
    if ((lead == 0x82 && is_within(trail, 0x9F, 0xF1)) ||
        (lead == 0x83 && is_within(trail, 0x40, 0x96)))
        return 1; // kana
    if (is_within(lead, 0x88, 0x97))
        return 0.9;
    return is_within(lead, 0x81, 0x82) ? 0.6 : 0.3;
}

double usual_in_korean(unsigned lead, unsigned trail)
{
    // The most frequent syllables, at their place in the encoding.
    static constexpr std::string_view common =
        "\xB0\xA1\xB0\xA3\xB0\xB3\xB0\xE6\xB0\xE8\xB0\xED\xB0\xF8\xB0\xFA\xB0\xFC\xB1\xB3\xB1\xB8"
        "\xB1\xB9\xB1\xD7\xB1\xDB\xB1\xE2\xB1\xE8\xB3\xAA\xB3\xBB\xB4\xC2\xB4\xD9\xB4\xEB\xB4\xF5"
        "\xB5\xB5\xB5\xBF\xB5\xE5\xB6\xF3\xB7\xCE\xB8\xA6\xB8\xAE\xB8\xB6\xB8\xF1\xB9\xAB\xB9\xAE"
        "\xB9\xB0\xB9\xE6\xBA\xB8\xBA\xBB\xBA\xCE\xBA\xF1\xBB\xE7\xBB\xF3\xBB\xF5\xBB\xFD\xBC\xAD"
        "\xBC\xBA\xBC\xBC\xBC\xD2\xBC\xF6\xBD\xBA\xBD\xC3\xBD\xC5\xBE\xC8\xBE\xEE\xBF\xA1\xBF\xA9"
        "\xBF\xAC\xBF\xB5\xBF\xEB\xBF\xEC\xBF\xF8\xC0\xAF\xC0\xBA\xC0\xBB\xC0\xBD\xC0\xC7\xC0\xCC"
        "\xC0\xCE\xC0\xCF\xC0\xDA\xC0\xE5\xC0\xFC\xC1\xA4\xC1\xA6\xC1\xB6\xC1\xD6\xC1\xDF\xC1\xF6"
        "\xC1\xF8\xC6\xAE\xC6\xC4\xC6\xFA\xC7\xCF\xC7\xD1\xC7\xD8\xC8\xAD";
    if (!is_within(lead, 0xB0, 0xC8) || trail < 0xA1)
        return lead < 0xB0 && lead >= 0xA1 ? 0.5 : 0.3;
    for (std::size_t i = 0; i < common.size(); i += 2)
        if (static_cast<unsigned char>(common[i]) == lead &&
            static_cast<unsigned char>(common[i + 1]) == trail)
            return 1;
    return 0.6;
}

double usual_in_simplified_chinese(unsigned lead, unsigned trail)
{
    if (trail < 0xA1)
        return 0.2;
    if (is_within(lead, 0xB0, 0xD7))
        return 0.75;
    return is_within(lead, 0xA1, 0xA3) || lead > 0xD7 ? 0.5 : 0.2;
}

double usual_in_traditional_chinese(unsigned lead, unsigned)
{
    if (is_within(lead, 0xA4, 0xC6))
        return 0.75;
    return is_within(lead, 0xA1, 0xA3) ? 0.5 : 0.2;
}

struct Encoding {
    const char* name;
    UsualIn usual;
    bool has_single_kana; ///< characters of one byte beyond ASCII
};

constexpr std::array<Encoding, 4> guessed_encodings{{
    {"windows-31j", usual_in_japanese, true},
    {"windows-949", usual_in_korean, false},
    {"windows-936", usual_in_simplified_chinese, false},
    {"windows-950", usual_in_traditional_chinese, false},
}};

/// The score of the non-ASCII characters of several names.
struct Judgement {
    double worth = 0;
    std::size_t characters = 0;
};

void judge(std::string_view name, const Encoding& encoding, Judgement& judgement)
{
    double alone = 0; // the score of a character without a neighbour so far
    bool follows_another = false;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const unsigned lead = static_cast<unsigned char>(name[i]);
        if (lead < 0x80) {
            judgement.worth += alone * worth_when_alone;
            alone = 0;
            follows_another = false;
            continue;
        }
        const bool is_single = encoding.has_single_kana && is_within(lead, 0xA1, 0xDF);
        const bool has_trail = !is_single && i + 1 < name.size();
        const double worth =
            has_trail ? encoding.usual(lead, static_cast<unsigned char>(name[++i])) : 0.5;
        ++judgement.characters;
        judgement.worth += alone + (follows_another ? worth : 0);
        alone = follows_another ? 0 : worth;
        follows_another = true;
    }
    judgement.worth += alone * worth_when_alone;
}

double score_of(const std::vector<std::string*>& names, const Encoding& encoding)
{
    const NameConverter converter(encoding.name);
    Judgement judgement;
    for (const std::string* name : names) {
        if (judgement.characters > max_characters_judged)
            break;
        if (!converter.decoded(*name))
            return 0;
        judge(*name, encoding, judgement);
    }
    return judgement.worth / static_cast<double>(std::max<std::size_t>(judgement.characters, 1));
}

} // namespace

const char* guess_east_asian_encoding(const std::vector<std::string*>& names)
{
    const char* best = nullptr;
    double best_score = least_score;
    for (const Encoding& encoding : guessed_encodings) {
        const double score = score_of(names, encoding);
        if (score > best_score) {
            best = encoding.name;
            best_score = score;
        }
    }
    return best;
}

} // namespace orv::archive
