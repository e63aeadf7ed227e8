#include "app/Command.hpp"

#include <filesystem>

namespace orv::test {
namespace {

constexpr const char* none = "protected: off\norder: none\ncustom sorted: off\n";

TEST_F(CommandTest, SetsOnlyTheAttributesThatAreGiven)
{
    make_tree(work(), {"a=1", "link->a"});
    const struct {
        Words set;
        const char* got;
    } steps[] = {
        {{"--order", "-7"}, "protected: off\norder: -7\ncustom sorted: off\n"},
        {{"--protected", "on"}, "protected: on\norder: -7\ncustom sorted: off\n"},
        {{"--order", "none"}, "protected: on\norder: none\ncustom sorted: off\n"},
        {{"--protected", "off", "--order", "9223372036854775807"},
         "protected: off\norder: 9223372036854775807\ncustom sorted: off\n"},
        {{"--order", "none"}, none},
    };
    EXPECT_EQ(orv({"attr", "get", "a"}).out, none);
    for (const auto& step : steps) {
        Words arguments{"attr", "set", "a"};
        arguments.insert(arguments.end(), step.set.begin(), step.set.end());
        EXPECT_EQ(orv(arguments).exit_code, 0);
        EXPECT_EQ(orv({"attr", "get", "a"}).out, step.got);
        EXPECT_EQ(orv({"attr", "get", "link"}).out, step.got);
    }
}

TEST_F(CommandTest, TellsThatAnItemWithoutAttributesToSetOrGetIsMissing)
{
    for (const Words& arguments :
         {Words{"attr", "get", "none"}, {"attr", "set", "none", "--protected", "on"}}) {
        const Outcome outcome = orv(arguments);
        EXPECT_EQ(outcome.exit_code, 1);
        EXPECT_EQ(outcome.err, told("orv: The item doesn't exist: $W/none\n"));
    }
}

TEST_F(CommandTest, LetsAttributesFollowTheirItem)
{
    make_tree(work(), {"d/a=1"});
    orv({"attr", "set", "d/a", "--protected", "on", "--order", "3"});
    ASSERT_EQ(orv({"cp", "d", "e"}).exit_code, 0);
    const std::string url = Url(at("e/a")).description();
    EXPECT_EQ(orv({"attr", "get", "e/a", "--json"}).out,
              "{\"url\": \"" + url +
                  "\", \"is_protected\": true, \"order_no\": 3, \"is_custom_sorted\": false, "
                  "\"was_custom_sorted_at_least_once\": false}\n");

    orv({"rm", "d"});
    make_tree(work(), {"d/a=1"});
    EXPECT_EQ(orv({"attr", "get", "d/a"}).out, none);

    std::filesystem::create_directory(at("f"));
    std::filesystem::rename(at("e/a"), at("f/b"));
    EXPECT_EQ(orv({"protected"}).out, told("$W/f/b\n"));
    std::filesystem::rename(at("f/b"), at("c"));
    EXPECT_EQ(orv({"attr", "get", "c"}).out, "protected: on\norder: 3\ncustom sorted: off\n");
}

TEST_F(CommandTest, KeepsTheAttributesOfEachApplicationApart)
{
    make_tree(work(), {"a=1"});
    orv({"--app", "one", "attr", "set", "a", "--order", "1"});
    EXPECT_EQ(orv({"attr", "get", "a", "--app", "two"}).out, none);
    EXPECT_NE(orv({"attr", "get", "a", "--app", "one"}).out, none);
    EXPECT_TRUE(std::filesystem::exists(home().appending(".local/share/one")));
    EXPECT_TRUE(std::filesystem::exists(home().appending(".cache/two/tmp")));
}

} // namespace
} // namespace orv::test
