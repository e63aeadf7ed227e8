#include "app/Command.hpp"
#include "app/Pseudoterminal.hpp"

#include <filesystem>

namespace orv::test {
namespace {

const ChangeCase copy_cases[] = {
    {{"a=1"}, {"a", "b"}, 0, "", {"a=1", "b=1"}},
    {{"a=1", "d/"}, {"a", "d"}, 0, "", {"a=1", "d/", "d/a=1"}},
    {{"a=1", "d/"}, {"a", "d/"}, 0, "", {"a=1", "d/", "d/a=1"}},
    {{"a=1", "d/", "l->d"}, {"a", "l"}, 0, "", {"a=1", "d/", "d/a=1", "l->d"}},
    {{"a=1", "l->a", "d/"}, {"l", "d"}, 0, "", {"a=1", "d/", "d/l->a", "l->a"}},
    {{"a=1", "l->a", "d/"}, {"-L", "l", "d"}, 0, "", {"a=1", "d/", "d/l=1", "l->a"}},
    {{"s/a=1"}, {"s", "new/"}, 0, "", {"new/", "new/a=1", "s/", "s/a=1"}},
    {{"s/d/a=1", "t/"}, {"s/d/.", "t"}, 0, "", {"s/", "s/d/", "s/d/a=1", "t/", "t/d/", "t/d/a=1"}},
    {{"a=1"}, {"a", "b/"}, 1, "orv: Destination is not a folder: $W/b\n", {"a=1"}},
    {{"a=1", "b=2"},
     {"a", "b/", "--on-conflict", "replace"},
     1,
     "orv: Destination is not a folder: $W/b\n",
     {"a=1", "b=2"}},
    {{}, {"a", "b"}, 1, "orv: Source item doesn't exist: $W/a\n", {}},
    {{"a=1"}, {"", "b"}, 1, "orv: Source url points to an undefined path\n", {"a=1"}},
    {{"a=1"}, {"a", ""}, 1, "orv: Destination url points to an undefined path: $W/a\n", {"a=1"}},
    {{}, {"/", "b"}, 1, "orv: Source url points to root directory: /\n", {}},
    {{"d/a=1"},
     {"d", "d/e"},
     1,
     "orv: Source path conflicts with destination path: $W/d\n",
     {"d/", "d/a=1"}},

    {{"a=1", "b=2"}, {"a", "b"}, 1, "orv: Destination item already exists: $W/b\n", {"a=1", "b=2"}},
    {{"a=1", "b=2"},
     {"a", "b", "--on-conflict", "ask"},
     1,
     "orv: Destination item already exists: $W/b\n",
     {"a=1", "b=2"}},
    {{"a=1", "b=2"},
     {"a", "b", "--on-conflict", "stop"},
     1,
     "orv: Destination item already exists: $W/b\n",
     {"a=1", "b=2"}},
    {{"a=1", "b=2"}, {"a", "b", "--on-conflict", "replace"}, 0, "", {"a=1", "b=1"}},
    {{"a=1", "b=2"}, {"a", "b", "--on-conflict", "keep-both"}, 0, "", {"a=1", "b (2)=1", "b=2"}},
    {{"a=1", "b=2"},
     {"a", "b", "--on-conflict", "merge"},
     1,
     "orv: Only a folder can be merged, and only into another folder: $W/b\n",
     {"a=1", "b=2"}},
    {{"d/a=1", "e/d/b=2"},
     {"d", "e", "--on-conflict", "replace"},
     0,
     "",
     {"d/", "d/a=1", "e/", "e/d/", "e/d/a=1"}},
    {{"d/a=1", "d/c=1", "e/d/a=2"},
     {"d", "e", "--on-conflict", "merge"},
     0,
     "",
     {"d/", "d/a=1", "d/c=1", "e/", "e/d/", "e/d/a=2", "e/d/c=1"}},
    {{"a=1"}, {"a", "a", "--on-conflict", "replace"}, 0, "", {"a=1"}},
    {{"a=1"}, {"a", "d/b"}, 1, "orv: Destination folder doesn't exist: $W/d\n", {"a=1"}},

    {{"a=1", "b/c=2", "l->a", "d/"},
     {"a", "b/.", "l", "d"},
     0,
     "",
     {"a=1", "b/", "b/c=2", "d/", "d/a=1", "d/b/", "d/b/c=2", "d/l->a", "l->a"}},
    {{"a=1", "b=2"},
     {"a", "b", "d"},
     1,
     "orv: Destination folder doesn't exist: $W/d\n",
     {"a=1", "b=2"}},
    {{"a=1", "b=2", "d=3"},
     {"a", "b", "d"},
     1,
     "orv: Destination url must point to a folder: $W/d\n",
     {"a=1", "b=2", "d=3"}},
    {{"a=1", "d/"},
     {"a", "b", "d"},
     1,
     "orv: Source item doesn't exist: $W/b\n",
     {"a=1", "d/", "d/a=1"}},
    {{"a=1", "d/"},
     {"b", "a", "d", "--on-error", "stop"},
     1,
     "orv: Source item doesn't exist: $W/b\n",
     {"a=1", "d/"}},
    {{"a=1", "d/"},
     {"a", "/", "d"},
     1,
     "orv: Source url points to root directory: /\n",
     {"a=1", "d/"}},
    {{"a=1", "b=1", "d/b=2"},
     {"a", "b", "d"},
     1,
     "orv: Destination item already exists: $W/d/b\n",
     {"a=1", "b=1", "d/", "d/a=1", "d/b=2"}},
    {{"a=1", "s/b=1", "d/a=2", "d/s/c=2"},
     {"s", "a", "d", "--on-conflict", "merge"},
     1,
     "orv: Only a folder can be merged, and only into another folder: $W/d/a\n",
     {"a=1", "d/", "d/a=2", "d/s/", "d/s/b=1", "d/s/c=2", "s/", "s/b=1"}},
    {{"a=1", "s/a=2", "d/"},
     {"a", "s/a", "d", "--on-conflict", "replace"},
     1,
     "orv: Two of the items have this name; --on-conflict keep-both keeps both: $W/s/a\n",
     {"a=1", "d/", "s/", "s/a=2"}},
    {{"a=1", "s/a=2", "d/"},
     {"a", "s/a", "d", "--on-conflict", "keep-both"},
     0,
     "",
     {"a=1", "d/", "d/a (2)=2", "d/a=1", "s/", "s/a=2"}},

    {{"a=1", "b=2"},
     {"a", "b", "--on-conflict", "skip"},
     1,
     "orv: It was left out, since its name is taken: $W/a\n",
     {"a=1", "b=2"}},
    {{"a=1", "b=2"}, {"a", "b", "--on-conflict", "skip-equal"}, 0, "", {"a=1", "b=1"}},
    {{"d/a=1", "d/c=1", "e/d/a=2"},
     {"-a", "d", "e", "-n"},
     1,
     "orv: It was left out, since its name is taken: $W/d/a\n",
     {"d/", "d/a=1", "d/c=1", "e/", "e/d/", "e/d/a=2", "e/d/c=1"}},
    {{"d/a=1", "d/c=1", "e/d/a=2", "e/d/b=3"},
     {"-rf", "d", "e"},
     0,
     "",
     {"d/", "d/a=1", "d/c=1", "e/", "e/d/", "e/d/a=1", "e/d/b=3", "e/d/c=1"}},
};

TEST_F(CommandTest, CopiesAndSettlesConflictsAsItIsTold)
{
    for (ChangeCase row : copy_cases) {
        row.arguments.insert(row.arguments.begin(), "cp");
        check(row);
    }
}

struct AnswerCase {
    Words before;
    Words asked; ///< what is shown in turn, and typed after each
    Words typed;
    int exit_code;
    Words after;
    Words arguments = {"cp", "s", "t"};
};

const Words conflicting{"a=1", "b=1", "c=1", "d/a=2", "d/b=2", "d/c=2"};
const std::string more = "With \"all\" after it, for all that follow: ";

const AnswerCase answer_cases[] = {
    {{"s=1", "t=2"}, {"(r)eplace"}, {"r\n"}, 0, {"s=1", "t=1"}},
    {{"s=1", "t=2"}, {"(k)eep both"}, {" Keep both\n"}, 0, {"s=1", "t (2)=1", "t=2"}},
    {{"s=1", "t=2"}, {"(s)top"}, {"s\n"}, 1, {"s=1", "t=2"}},
    {{"s=1", "t=2"}, {"(s)top"}, {std::string(ctrl_d)}, 1, {"s=1", "t=2"}},
    {{"s=1", "t=2"},
     {"exists. (r)eplace", "exists. (r)eplace", "exists. (r)"},
     {"m\n", "\n", "k\n"},
     0,
     {"s=1", "t (2)=1", "t=2"}},
    {{"s/a=1", "t/s/b=2"},
     {"exists. (m)erge"},
     {"m\n"},
     0,
     {"s/", "s/a=1", "t/", "t/s/", "t/s/a=1", "t/s/b=2"}},

    {conflicting,
     {"  new:   1 B, 2",
      "d/a already exists. (r)eplace, (k)eep both, (l)eave out or (s)top? " + more},
     {"", "Replace ALL\n"},
     0,
     {"a=1", "b=1", "c=1", "d/", "d/a=1", "d/b=1", "d/c=1"},
     {"cp", "a", "b", "c", "d"}},
    {conflicting,
     {"d/a already exists", more, "d/c already exists. (r)eplace"},
     {"r\n", "k\n", "s all\n"},
     1,
     {"c=1", "d/", "d/a=1", "d/b (2)=1", "d/b=2", "d/c=2"},
     {"mv", "a", "b", "c", "d"}},
    {{"a=1", "b/c=1", "d/a=2", "d/b/e=2", "f/g=1", "d/f/h=2"},
     {"d/b already exists. (m)erge", "d/a already exists. (r)"},
     {"m all\n", "k\n"},
     0,
     {"a=1", "b/", "b/c=1", "d/", "d/a (2)=1", "d/a=2", "d/b/", "d/b/c=1", "d/b/e=2", "d/f/",
      "d/f/g=1", "d/f/h=2", "f/", "f/g=1"},
     {"cp", "b", "f", "a", "d"}},
};

TEST_F(CommandTest, AsksOnATerminalWhatToDoAboutATakenName)
{
    for (const AnswerCase& row : answer_cases) {
        SCOPED_TRACE(testing::PrintToString(row.typed));
        std::filesystem::remove_all(work());
        make_tree(work(), row.before);
        Pseudoterminal terminal(command(row.arguments), work());
        for (std::size_t i = 0; i < row.asked.size(); ++i) {
            terminal.wait_for(row.asked[i]);
            terminal.type(row.typed[i]);
        }
        EXPECT_EQ(terminal.finish(), row.exit_code) << terminal.shown();
        EXPECT_EQ(tree(work()), row.after);
    }
}

TEST_F(CommandTest, TellsWhatACopyWouldDoAndDoesNothing)
{
    const Words before{"a=1", "d/", "d/x=1", "d/y=1", "e/", "e/d/", "e/d/x=2"};
    make_tree(work(), before);
    const Outcome outcome =
        orv({"cp", "a", "d", "gone", "e", "--on-conflict", "merge", "--dry-run"});
    EXPECT_EQ(outcome.exit_code, 0);
    for (const char* line : {"new  $W/e/a\n", "merge  $W/e/d\n", "leave  $W/e/d/x\n",
                             "new  $W/e/d/y\n", "missing  $W/gone\n"})
        EXPECT_NE(outcome.out.find(told(line)), std::string::npos) << outcome.out;
    EXPECT_EQ(tree(work()), before);
    EXPECT_EQ(orv({"mv", "-v", "a", "e"}).out, told("$W/a -> $W/e/a\n"));
}

TEST_F(CommandTest, AsksNothingWhenItIsToBeQuiet)
{
    make_tree(work(), {"s=1", "t=2"});
    Pseudoterminal terminal(command({"--quiet", "cp", "s", "t"}), work());
    EXPECT_EQ(terminal.finish(), 1);
    EXPECT_EQ(terminal.shown(), told("orv: Destination item already exists: $W/t\r\n"));
}

TEST_F(CommandTest, ShowsProgressOnATerminalOnly)
{
    write_file(at("d/na\nme"), std::string(1'500'000, 'x'));
    Pseudoterminal terminal(command({"cp", "d", "e"}), work());
    EXPECT_EQ(terminal.finish(), 0);
    EXPECT_NE(terminal.shown().find("100% [################] 1.5 MB"), std::string::npos);
    EXPECT_NE(terminal.shown().find("/s  0:"), std::string::npos);
    EXPECT_NE(terminal.shown().find("na\\nme\x1b[K\r\n"), std::string::npos) << terminal.shown();

    make_tree(work(), {"g/"});
    Pseudoterminal several(command({"cp", "d", "e/na\nme", "g"}), work());
    EXPECT_EQ(several.finish(), 0);
    EXPECT_NE(several.shown().find("100% [################] 3.0 MB of 3.0 MB"), std::string::npos)
        << several.shown();

    Pseudoterminal quiet(command({"cp", "d", "f", "--quiet"}), work());
    EXPECT_EQ(quiet.finish(), 0);
    EXPECT_EQ(quiet.shown(), "");

    const Outcome outcome = orv({"cp", "d", "h"});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_EQ(outcome.out + outcome.err, "");
}

} // namespace
} // namespace orv::test
