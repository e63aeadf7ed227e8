#include "utility/Text.hpp"

#include <algorithm>
#include <array>
#include <random>
#include <set>
#include <vector>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

struct OrderCase {
    std::string a;
    std::weak_ordering order;
    std::string b;
};

const OrderCase order_cases[] = {
    {"", std::weak_ordering::equivalent, ""},
    {"", std::weak_ordering::less, "a"},
    {"ab", std::weak_ordering::less, "ABC"},
    {"File.TXT", std::weak_ordering::equivalent, "file.txt"},
    {"a", std::weak_ordering::less, "B"},
    {"Z", std::weak_ordering::greater, "_"}, // letters compare as small ones...
    {"[", std::weak_ordering::less, "A"},    // ...also with what stands between the two alphabets
    {"Straße", std::weak_ordering::equivalent, "STRASSE"},
    {"ﬁle", std::weak_ordering::equivalent, "FILE"},
    {"\u00C9", std::weak_ordering::equivalent, "e\u0301"},
    {"\u212B", std::weak_ordering::equivalent, "\u00E5"},               // the ångström sign
    {"\u212A", std::weak_ordering::equivalent, "k"},                    // the kelvin sign
    {"a\u0307\u0323", std::weak_ordering::equivalent, "A\u0323\u0307"}, // marks in either order
    {"\u1F80", std::weak_ordering::equivalent, "\u1F88"},               // folds to two letters
    {"\u03B1\u0345\u0301", std::weak_ordering::equivalent,
     "\u1FB4"},                                                 // a mark that folds to a letter
    {"\u03A3", std::weak_ordering::equivalent, "\u03C2"},       // final sigma
    {"\uAC00", std::weak_ordering::equivalent, "\u1100\u1161"}, // Hangul
    {"I", std::weak_ordering::less, "\u0131"},                  // dotless i is another letter
    {"\u00E9", std::weak_ordering::less, "f"},
    {"e\u0301x", std::weak_ordering::greater, "ez"},
    {"\uFF61", std::weak_ordering::less, "\U0001F600"}, // by code points, not UTF-16 units
    {"\xfe", std::weak_ordering::less, "\xff"},
    {"a\xff", std::weak_ordering::less, "a\uFFFD"},
    {"a\xff", std::weak_ordering::less, "a\U0010FFFF"},
    {"a\xff", std::weak_ordering::greater, "a\u1100"},
    {"\xe4\xb8", std::weak_ordering::greater, "\u4E00"}, // a cut character is two stray bytes
    {"\xed\xb3\xbf", std::weak_ordering::less, "\xff"},  // a surrogate is none of ours
    {"\xc3", std::weak_ordering::less, "\xc3\xff"},
};

TEST(Text, is_compared_by_unicode_rules)
{
    for (const auto& [a, order, b] : order_cases) {
        EXPECT_TRUE(compare_case_insensitively(a, b) == order) << a << " and " << b;
        EXPECT_TRUE(compare_case_insensitively(b, a) == (0 <=> order)) << b << " and " << a;
        EXPECT_TRUE((fold_key(a) <=> fold_key(b)) == order) << a << " and " << b;
    }
}

TEST(Text, every_stray_byte_is_a_character_of_its_own)
{
    std::set<std::string> keys;
    for (int byte = 0x80; byte <= 0xFF; ++byte)
        keys.insert(fold_key(std::string(1, static_cast<char>(byte))));
    EXPECT_EQ(keys.size(), 128U);
    EXPECT_FALSE(keys.contains(fold_key("\uFFFD")));
}

TEST(Text, a_comparison_agrees_with_the_keys)
{
    const std::array<std::string, 14> pieces{"a",      "B",      "e",      "E",     "\u0301",
                                             "\u0323", "\u00E9", "\u00DF", "ss",    "\xff",
                                             "\xc3",   "\u1E9E", "\uAC00", "\u1161"};
    std::mt19937 random(1);
    const auto random_text = [&] {
        std::string text;
        for (auto left = random() % 5; left > 0; --left)
            text += pieces[random() % pieces.size()];
        return text;
    };
    for (int round = 0; round < 20'000; ++round) {
        const std::string a = random_text();
        const std::string b = random_text();
        ASSERT_TRUE(compare_case_insensitively(a, b) == (fold_key(a) <=> fold_key(b)))
            << a << " and " << b;
    }
}

TEST(Text, is_cut_between_characters)
{
    struct Case {
        std::string text;
        std::size_t size;
        std::string expected;
    };
    const Case cases[] = {
        {"abc", 3, "abc"},
        {"abc", 2, "ab"},
        {"abc", 0, ""},
        {"aé", 2, "a"},
        {"aé", 3, "aé"},
        {"a\U0001F600", 4, "a"},
        {"a\xff\xff", 2, "a\xff"},
        {"\x80\x80\x80\x80\x80", 4, "\x80\x80\x80\x80"},
    };
    for (const auto& [text, size, expected] : cases)
        EXPECT_EQ(fitting_prefix(text, size), expected) << text << " to " << size;
}

} // namespace
} // namespace orv::test
