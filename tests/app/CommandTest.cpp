#include "app/Command.hpp"

#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

namespace orv::test {
namespace {

struct CommandCase {
    Words before;
    Words arguments;
    int exit_code;
    std::string out;
    std::string err; ///< "$W" is the work folder
    Words after;
};

const CommandCase command_cases[] = {
    {{"d/a=12345", "d/s/b=123"},
     {"du", "d"},
     0,
     "8 bytes (8 B)\n",
     "",
     {"d/", "d/a=12345", "d/s/", "d/s/b=123"}},
    {{"a=1"}, {"du", "a"}, 1, "", "orv: Given url must point to a folder: $W/a\n", {"a=1"}},
    {{}, {"du", "no\nne"}, 1, "", "orv: No item exists at given url: $W/no\\nne\n", {}},

    {{"d/"}, {"ls", "d"}, 0, "", "", {"d/"}},
    {{"d/"}, {"ls", "d", "--json"}, 0, "[]\n", "", {"d/"}},
    {{"a=1"}, {"ls", "a"}, 1, "", "orv: Given url must point to a folder: $W/a\n", {"a=1"}},

    {{"a=1", "b/c=2", "d=3", "l->d"}, {"rm", "a", "b", "l"}, 0, "", "", {"d=3"}},
    {{"a=1", "c=3"},
     {"rm", "a", "b", "c"},
     1,
     "",
     "orv: Couldn't delete the item, because it doesn't exist: $W/b\n",
     {}},
    {{"a=1", "b/c=2"}, {"rm", "-rf", "a", "none", "b"}, 0, "", "", {}},
    {{"a=1", "b=2"}, {"rm", "-v", "a", "b"}, 0, "$W/a\n$W/b\n", "", {}},
    {{}, {"rm", "/"}, 1, "", "orv: Given url points to root directory: /\n", {}},
    {{"a=1"}, {"rm", ""}, 1, "", "orv: Given url points to an undefined path\n", {"a=1"}},
    {{"a=1"},
     {"rm", "a", "."},
     1,
     "",
     "orv: An item can't be deleted as \".\" or \"..\": $W/.\n",
     {"a=1"}},
    {{"[a,b]=1", "a=1", "b=1"}, {"rm", "[a,b]"}, 0, "", "", {"a=1", "b=1"}},
    {{"++=1", "cp=1", "{}=1"}, {"rm", "cp", "++", "{}"}, 0, "", "", {}},
    {{"-r=1", "r=1"}, {"rm", "--", "-r"}, 0, "", "", {"r=1"}},

    {{}, {"mkdir", "d"}, 0, "", "", {"d/"}},
    {{},
     {"mkdir", "d/e"},
     1,
     "",
     "orv: Couldn't create new folder: $W/d: No such file or directory\n",
     {}},
    {{}, {"mkdir", "-p", "d/e"}, 0, "", "", {"d/", "d/e/"}},
    {{"d/"}, {"mkdir", "d"}, 1, "", "orv: An item already exists: $W/d\n", {"d/"}},
    {{"d/"}, {"mkdir", "-p", "d"}, 0, "", "", {"d/"}},
    {{"d=1"}, {"mkdir", "-p", "d"}, 1, "", "orv: An item already exists: $W/d\n", {"d=1"}},

    {{"d=1"}, {"examples", "d"}, 1, "", "orv: An item already exists: $W/d\n", {"d=1"}},
    {{"d=1"},
     {"examples", "d/e"},
     1,
     "",
     "orv: Couldn't create new folder: $W/d: Not a directory\n",
     {"d=1"}},
    {{"d=1"}, {"examples", ""}, 1, "", "orv: Given url points to an undefined path\n", {"d=1"}},
};

TEST_F(CommandTest, DoesWhatItIsAskedAndTellsWhatItCouldNot)
{
    for (const CommandCase& row : command_cases) {
        SCOPED_TRACE(testing::PrintToString(row.arguments));
        std::filesystem::remove_all(work());
        make_tree(work(), row.before);
        const Outcome outcome = orv(row.arguments);
        EXPECT_EQ(outcome.exit_code, row.exit_code);
        EXPECT_EQ(outcome.out, told(row.out));
        EXPECT_EQ(outcome.err, told(row.err));
        EXPECT_EQ(tree(work()), row.after);
    }
}

TEST_F(CommandTest, FillsAFolderWithExampleFiles)
{
    const Outcome told_of_it = orv({"examples", "new/d"});
    EXPECT_EQ(told_of_it.exit_code, 0);
    EXPECT_NE(told_of_it.out.find("✅ created folder: Music\n"), std::string::npos);
    EXPECT_EQ(told_of_it.out.find("⚠️"), std::string::npos) << told_of_it.out;
    EXPECT_EQ(told_of_it.err, "");

    const Words made = tree(at("new/d"));
    const Outcome quiet = orv({"--quiet", "examples", "new/d"});
    EXPECT_EQ(quiet.exit_code, 0);
    EXPECT_EQ(quiet.out + quiet.err, "");
    EXPECT_EQ(tree(at("new/d")), made);

    make_tree(work(), {"taken/Books=mine"});
    const Outcome hindered = orv({"examples", "taken"});
    EXPECT_EQ(hindered.exit_code, 1);
    EXPECT_TRUE(hindered.err.starts_with("⚠️ this item already exists: Books\n"))
        << hindered.err;
    EXPECT_TRUE(hindered.err.ends_with(
        told("orv: Not all example files could be created; 3 are missing, first: "
             "$W/taken/Books/A-Room-with-a-View.pdf\n")));
    EXPECT_EQ(read_file(at("taken/Books")), "mine");
}

TEST_F(CommandTest, AnswersWrongUsageWithoutTouchingAnything)
{
    const struct {
        Words arguments;
        std::string complaint;
    } cases[] = {
        {{}, "orv: A subcommand is required\nSee orv --help.\n"},
        {{"bogus"}, "orv: There is no command \"bogus\"\nSee orv --help.\n"},
        {{"move", "a", "b"},
         "orv: There is no command \"move\". Did you mean \"mv\"?\nSee orv --help.\n"},
        {{"mkdri", "a"},
         "orv: There is no command \"mkdri\". Did you mean \"mkdir\"?\nSee orv --help.\n"},
        {{"ls"}, "orv: DIR is required\nSee orv ls --help.\n"},
        {{"ls", ".", "x"}, "orv: The following argument was not expected: x\nSee orv ls --help.\n"},
        {{"ls", ".", "--sort", "up"},
         "orv: --sort: \"up\" is none of custom, date, ext, folders, name, natural, size\nSee orv "
         "ls "
         "--help.\n"},
        {{"ls", ".", "--remember"}, "orv: --remember requires --sort\nSee orv ls --help.\n"},
        {{"cp", "a"}, "orv: DEST is required\nSee orv cp --help.\n"},
        {{"cp", "a", "b", "--on-conflict", "x"},
         "orv: --on-conflict: \"x\" is none of ask, keep-both, merge, replace, replace-older, "
         "skip, "
         "skip-equal, stop\nSee orv cp --help.\n"},
        {{"cp", "--on-conflict", "stop"}, "orv: SRC is required\nSee orv cp --help.\n"},
        {{"mv", "a", "b", "--on-error", "retry"},
         "orv: --on-error: \"retry\" is none of ask, skip, stop\nSee orv mv --help.\n"},
        {{"write", "a", "--on-conflict", "merge"},
         "orv: --on-conflict: only cp and mv can merge folders\nSee orv write --help.\n"},
        {{"write", "a", "--on-conflict", "x"},
         "orv: --on-conflict: \"x\" is none of ask, keep-both, replace, stop\nSee orv write "
         "--help.\n"},
        {{"rm", "a", "-x"},
         "orv: The following argument was not expected: -x\nSee orv rm --help.\n"},
        {{"attr", "set", "a"},
         "orv: --protected or --order is required\nSee orv attr set --help.\n"},
        {{"attr", "set", "a", "--order", "1x"},
         "orv: --order: \"1x\" is neither a whole number nor none\nSee orv attr set --help.\n"},
        {{"--app", "../x", "ls", "."},
         "orv: --app: \"../x\" is no name for a folder\nSee orv ls --help.\n"},
    };
    make_tree(work(), {"a=1"});
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::PrintToString(row.arguments));
        const Outcome outcome = orv(row.arguments);
        EXPECT_EQ(outcome.exit_code, 2);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, row.complaint);
    }
    EXPECT_EQ(tree(work()), Words{"a=1"});
    EXPECT_EQ(tree(home()), Words{});
}

TEST_F(CommandTest, TellsVersionAndHelpWithoutTouchingAnything)
{
    for (const Words& arguments : {Words{"--version"}, {"--help"}, {"attr", "set", "--help"}}) {
        const Outcome outcome = orv(arguments);
        EXPECT_EQ(outcome.exit_code, 0);
        EXPECT_NE(outcome.out, "");
        EXPECT_EQ(outcome.err, "");
    }
    EXPECT_EQ(tree(home()), Words{});
}

TEST_F(CommandTest, NamesADatabaseThatIsNone)
{
    write_file(database(), std::string(5000, 'x'));
    const Outcome outcome = orv({"ls", "."});
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_NE(outcome.err.find(database().path()), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.err.find('\n'), outcome.err.size() - 1) << outcome.err;
    EXPECT_EQ(read_file(database()), std::string(5000, 'x'));
}

TEST_F(CommandTest, TellsAFullVolumeFromAReaderThatHasGone)
{
    EXPECT_EQ(exit_code_of(start({"--help"}, "/dev/full")), 1);
    const pid_t full = start({"ls", "/", "--json"}, "/dev/full");
    const Outcome outcome = finish(full);
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_EQ(outcome.err, "orv: Couldn't write the output: No space left on device\n");

    const std::string pipe = (home().appending("pipe")).path();
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const int reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    make_tree(work(), {"a=1"});
    const pid_t process = start({"ls", ".", "--sort", "name"}, pipe);
    ::close(reader);
    const Outcome closed = finish(process);
    EXPECT_EQ(closed.exit_code, 1);
    EXPECT_EQ(closed.err, "");
}

TEST_F(CommandTest, SharesAHomeWithOthersAtWork)
{
    constexpr int count = 4;
    std::vector<pid_t> processes;
    for (int i = 0; i < count; ++i) {
        const std::string name = "f" + std::to_string(i);
        write_file(at(name), name);
        processes.push_back(start({"attr", "set", name, "--order", std::to_string(i)}));
        processes.push_back(start({"cp", name, "copy of " + name}));
    }
    for (const pid_t process : processes) {
        const Outcome outcome = finish(process);
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
    }
    for (int i = 0; i < count; ++i) {
        const std::string name = "f" + std::to_string(i);
        EXPECT_NE(orv({"attr", "get", name}).out.find("order: " + std::to_string(i) + "\n"),
                  std::string::npos);
        EXPECT_EQ(read_file(at("copy of " + name)), name);
    }
    EXPECT_EQ(temporaries(), Words{});
}

} // namespace
} // namespace orv::test
