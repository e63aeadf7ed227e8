#include "utility/ContentSearch.hpp"

#include <algorithm>
#include <array>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <time.h>

namespace orv::test {
namespace {

constexpr FoldingRules in_names{};
constexpr FoldingRules in_turkish_names{.turkic = true};
constexpr FoldingRules in_contents{.stray_bytes_are_latin_1 = true};

struct SearchCase {
    FoldingRules rules;
    std::string keyword;
    std::string text;
    bool found;
};

const SearchCase search_cases[] = {
    {in_names, "", "", false},
    {in_names, "", "a", false},
    {in_names, "a", "", false},
    {in_names, "abc", "xABCx", true},
    {in_names, "[", "{", false}, // differ in the bit that tells the cases of letters apart
    {in_names, "a b", "A B", true},
    {in_names, "straße", "STRASSE", true},
    {in_names, "strasse", "Straße", true},
    {in_names, "as", "daß", true},
    {in_names, "file", "proﬁle", true},
    {in_names, "kelvin", "\u212Aelvin", true},
    {in_names, "\u00E9", "CAFE\u0301", true},
    {in_names, "cafe\u0301", "CAF\u00C9S", true},
    {in_names, "cafe", "CAF\u00C9", false}, // another letter, however it is written
    {in_names, "cafe", "CAFE\u0301", false},
    {in_names, "e\u0323\u0301", "e\u0301\u0323", true}, // marks in either order
    {in_names, "e\u0301", "e\u0323\u0301", false},
    {in_names, "\u0301", "e\u0301", true},
    {in_names, "\uAC00", "\u1100\u1161", true},
    {in_names, "\uAC00", "\uAC01", false},
    {in_names, "\u03B1\u0301\u03B9", "\u1FB3\u0301", true}, // the mark goes before the iota
    {in_names, "\u03A3", "\u03C2", true},
    {in_names, "привет", "ПРИВЕТ", true},
    {in_names, "\U00010428", "\U00010400", true},
    {in_names, "\xff", "a\xff", true},
    {in_names, "\xff", "\u00FF", false},
    {in_names, "\xb3", "\xed\xb3\xbf", true},
    {in_names, "\xa9", "\u00E9", false}, // half a character
    {in_names, "i", "I\u0307", false},
    {in_names, "i", "\u0131", false},
    {in_contents, "\u00E9t\u00E9", "\xC9T\xC9", true},
    {in_contents, "strasse",
     "Stra\xdf"
     "e",
     true},
    {in_contents, "\u00BB", "\u00FB", false},
    {in_turkish_names, "istanbul", "\u0130STANBUL", true},
    {in_turkish_names, "istanbul", "I\u0307STANBUL", true},
    {in_turkish_names, "istanbul", "ISTANBUL", false},
    {in_turkish_names, "DIYARBAKIR", "d\u0131yarbak\u0131r", true},
    {in_turkish_names, "diyar", "DI\u0323\u0307YAR", false},
    {in_turkish_names, "\u0130I", "i\u0131", true},
};

TEST(TextSearch, finds_by_the_rules_of_unicode)
{
    for (const auto& [rules, keyword, text, found] : search_cases) {
        EXPECT_EQ(TextSearch(keyword, rules).found_in(text), found) << keyword << " in " << text;
        const std::string among = std::string(100, 'x') + text + std::string(100, 'x');
        EXPECT_EQ(TextSearch(keyword, rules).found_in(among), found) << keyword << " in " << among;
    }
}

/// Texts of few different characters, so that keywords are found, and nearly found, often.
class RandomTexts {
public:
    void choose_characters()
    {
        for (std::string& character : chosen_)
            character = pieces[random_() % std::size(pieces)];
    }

    std::string text(std::size_t max_size)
    {
        std::string text;
        for (auto left = random_() % max_size + 1; left > 0; --left)
            text += chosen_[random_() % chosen_.size()];
        return text;
    }

    bool any() { return random_() % 2 == 0; }

private:
    static constexpr std::string_view pieces[] = {
        "a",      "A",      "e",      "E",      "i",      "I",      "k",          "n",
        "s",      "S",      "t",      "f",      "x",      " ",      "\u0301",     "\u0323",
        "\u0307", "\u0308", "\u0302", "\u0345", "\u00E9", "\u00C9", "\u1EBF",     "\u00DF",
        "\u1E9E", "\uFB01", "\uFB03", "\uFB05", "\u0149", "\u017F", "\u212A",     "\u0131",
        "\u0130", "\u037E", ";",      "\u03B1", "\u1FB3", "\u1FB4", "\u03B9",     "\u03C2",
        "\u0438", "\u0439", "\u0419", "\u1C80", "\u0432", "\u672C", "\uAC00",     "\uAC01",
        "\u1100", "\u1161", "\u11A8", "\xff",   "\xc3",   "\xe9",   "\U00010400", "\xf0\x9f",
        "\xdf"};

    std::mt19937 random_{1};
    std::array<std::string, 4> chosen_;
};

TEST(TextSearch, finds_the_same_as_in_a_text_that_was_folded_as_a_whole)
{
    RandomTexts random;
    int found = 0;
    for (int round = 0; round < 1500; ++round) {
        random.choose_characters();
        const FoldingRules rules{random.any(), random.any()};
        const std::string keyword = random.text(4);
        const TextSearch search(keyword, rules);
        const FoldedKeyword folded(keyword, rules);
        for (const std::size_t max_size : {5U, 12U, 12U, 12U, 100U}) {
            const std::string text = random.text(max_size);
            const bool stands = folded.stands_in_folded(text);
            ASSERT_EQ(search.found_in(text), stands) << keyword << " in " << text;
            found += stands ? 1 : 0;
        }
    }
    EXPECT_GT(found, 1500);
}

TEST(TextSearch, goes_on_after_a_doubtful_place)
{
    std::string text;
    for (int i = 0; i < 3000; ++i)
        text += "e\u0301";
    const TextSearch search("\u00E9x", in_contents);
    EXPECT_FALSE(search.found_in(text));
    EXPECT_TRUE(search.found_in(text + "X"));
}

std::string times(std::size_t count, const std::string& text)
{
    std::string result;
    for (std::size_t i = 0; i < count; ++i)
        result += text;
    return result;
}

/// The seconds that this thread has worked, however busy the machine is.
double processor_time()
{
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

TEST(TextSearch, takes_linear_time_whatever_the_keyword)
{
    const std::string umlaut = "\u00E4";
    const struct {
        std::string keyword;
        std::string text;
        std::string end; ///< with which the keyword is there
    } rows[] = {
        {times(500, "a") + umlaut + times(499, "a"), times(1 << 20, "a"), umlaut + times(499, "a")},
        {times(999, "a") + umlaut, times(1 << 20, "a"), "a\u0308"},
        {times(1000, umlaut) + "x", times(1 << 19, umlaut), "x"},
        {times(1000, "a\u0308"), times(1 << 10, times(999, umlaut) + "b"), times(1000, umlaut)},
        {times(1000, "ab") + "c", times(1 << 19, "ab"), "c"},
        {times(300, umlaut), "e" + times(1 << 18, "\u0323\u0308"), times(300, umlaut)},
        {times(1 << 18, "ab") + "c", times(1 << 20, "ab"), "c"},
    };
    for (const auto& [keyword, text, end] : rows) {
        const double start = processor_time();
        const TextSearch search(keyword, in_contents);
        EXPECT_FALSE(search.found_in(text)) << keyword.substr(0, 20);
        EXPECT_LT(processor_time() - start, 3) << keyword.substr(0, 20);
        EXPECT_TRUE(search.found_in(text + end)) << keyword.substr(0, 20);
    }
}

TEST(TextSearch, asks_often_whether_to_go_on_where_it_is_slow)
{
    const TextSearch search(times(999, "a") + "\u00E4", in_contents);
    double last = processor_time();
    double longest = 0;
    EXPECT_FALSE(search.found_in(times(1 << 20, "a"), [&] {
        longest = std::max(longest, processor_time() - last);
        last = processor_time();
    }));
    EXPECT_LT(longest, ORV_IS_SANITIZED ? 0.5 : 0.05);
    const auto refuse = [] { throw std::runtime_error("cancelled"); };
    EXPECT_THROW(static_cast<void>(search.found_in(times(1 << 20, "a"), refuse)),
                 std::runtime_error);
}

/// Whether the content is found to contain the keyword when it is read in pieces.
bool found_in_pieces(const TextSearch& search, const std::string& content, std::size_t piece)
{
    ContentSearch contents(search);
    std::size_t at = 0;
    return contents.found_in([&](char* to, std::size_t size) {
        const std::size_t count = std::min({size, piece, content.size() - at});
        std::copy_n(content.data() + at, count, to);
        at += count;
        return count;
    });
}

TEST(ContentSearch, tells_the_encoding)
{
    using namespace std::string_literals;
    const struct {
        std::string content;
        bool found; ///< "é😀"
    } rows[] = {
        {"\u00C9\U0001F600", true},
        {"\xEF\xBB\xBF\u00C9\U0001F600", true},
        {"\xFF\xFE\xC9\0\x3D\xD8\0\xDE"s, true},
        {"\xFE\xFF\0\xC9\xD8\x3D\xDE\0"s, true},
        {"\xFE\xFF\0e\x03\x01\xD8\x3D\xDE\0"s, true},
        {"\xFF\xFE\xC9\0\x3D\xD8"s, false},
        {"\xFF\xFE\xC9\0\x3D\xD8\0"s, false},
        {"\xC9\0\x3D\xD8\0\xDE"s, false},
        {"\xC9\U0001F600", true},
        {"\xFF\xFE", false},
        {"", false},
    };
    const TextSearch search("\u00E9\U0001F600", in_contents);
    for (const auto& row : rows)
        for (const std::size_t piece : {1U, 3U, 1000U})
            EXPECT_EQ(found_in_pieces(search, row.content, piece), row.found)
                << row.content << " by " << piece;
}

TEST(ContentSearch, finds_across_the_borders_of_what_it_holds)
{
    const struct {
        std::string keyword;
        std::string text;
        bool found;
    } rows[] = {
        {"needle", "NeeDLE", true},
        {"\u00E9t\u00E9", "e\u0301te\u0301", true},
        {"ete", "ete\u0301", false},
        {"\U0001F600\U0001F600\U0001F600", "\U0001F600\U0001F600\U0001F600", true},
        {"\u00E9", "\xE9", true},
        {"\u1EC7", "e\u0302\u0323", true},
    };
    constexpr std::size_t held = 256 * 1024;
    for (const auto& [keyword, text, found] : rows) {
        const TextSearch search(keyword, in_contents);
        for (std::size_t before = held + search.reach() - 10; before < held + 2 * search.reach();
             ++before) {
            const std::string content = std::string(before, '.') + text + std::string(9000, '.');
            ASSERT_EQ(found_in_pieces(search, content, content.size()), found)
                << text << " after " << before;
        }
    }
    const std::string far = std::string(5 * held, '.');
    EXPECT_TRUE(found_in_pieces(TextSearch("needle", in_contents), far + "needle", 1000));
    EXPECT_TRUE(found_in_pieces(TextSearch(far, in_contents), "x" + far, far.size()));
}

} // namespace
} // namespace orv::test
