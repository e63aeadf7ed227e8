#include "app/Command.hpp"
#include "app/Pseudoterminal.hpp"

namespace orv::test {
namespace {

TEST_F(CommandTest, WritesItsInputToANewFile)
{
    const ChangeCase cases[] = {
        {{}, {"write", "a"}, 0, "", {"a=new"}},
        {{"a=old"}, {"write", "a"}, 1, "orv: Destination item already exists: $W/a\n", {"a=old"}},
        {{"a=old"}, {"write", "a", "--on-conflict", "replace"}, 0, "", {"a=new"}},
        {{"a=old"}, {"write", "a", "--on-conflict", "keep-both"}, 0, "", {"a 2=new", "a=old"}},
        {{"d/a=1"},
         {"write", "d", "--on-conflict", "replace"},
         1,
         "orv: Data can't be written to a folder: $W/d\n",
         {"d/", "d/a=1"}},
        {{}, {"write", "a/"}, 1, "orv: Data can't be written to a folder: $W/a\n", {}},
        {{}, {"write", ""}, 1, "orv: Destination url points to an undefined path\n", {}},
        {{}, {"write", "d/a"}, 1, "orv: Destination folder doesn't exist: $W/d\n", {}},
    };
    write_file(home().appending("input"), "new");
    set_input(home().appending("input").path());
    for (const ChangeCase& row : cases)
        check(row);
}

TEST_F(CommandTest, WritesMuchInput)
{
    const std::string content(3'000'001, 'x');
    write_file(home().appending("input"), content);
    set_input(home().appending("input").path());
    EXPECT_EQ(orv({"write", "a"}).err, "");
    EXPECT_TRUE(read_file(at("a")) == content);
}

TEST_F(CommandTest, WritesNothingWithoutInput)
{
    const std::pair<std::string, std::string> inputs[] = {
        {"/dev/null", "orv: Source data is empty: $W/a\n"},
        {home().path(), "orv: Couldn't read the input: Is a directory\n"},
    };
    for (const auto& [input, told] : inputs) {
        set_input(input);
        check({{"b=1"}, {"write", "a"}, 1, told, {"b=1"}});
    }
}

TEST_F(CommandTest, AsksTheTerminalWhenTheInputIsAPipe)
{
    make_tree(work(), {"a=old"});
    Words words{"/bin/sh", "-c", "printf new | \"$@\"", "sh"};
    const Words orv_words = command({"write", "a"});
    words.insert(words.end(), orv_words.begin(), orv_words.end());
    Pseudoterminal terminal(words, work());
    terminal.wait_for("a already exists. (r)eplace, (k)eep both or (s)top? ");
    terminal.type("k\n");
    EXPECT_EQ(terminal.finish(), 0);
    EXPECT_NE(terminal.shown().find("100% [################] 3 B of 3 B"), std::string::npos)
        << terminal.shown();
    EXPECT_EQ(tree(work()), (Words{"a 2=new", "a=old"}));
}

} // namespace
} // namespace orv::test
