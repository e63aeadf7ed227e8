#include "app/Command.hpp"
#include "app/Pseudoterminal.hpp"

#include <filesystem>
#include <thread>

#include <signal.h>

namespace orv::test {
namespace {

TEST_F(CommandTest, FindsNamesAndContents)
{
    make_tree(work(), {"d/Needle=", "d/.needle=", "d/hay=needle",
                       "d/e/f/NEEDLES=", "d/[x]=", "d/a\n\xff=", "d/++=", "d/I=\u0130", "d/i="});
    const struct {
        Words arguments;
        std::string out;
    } cases[] = {
        {{"needle"}, "Needle\n"},
        {{"NEEDLES", "-r"}, "e/f/NEEDLES\n"},
        {{".need", "--all"}, ".needle\n"},
        {{"lalala", "--content"}, ""},
        {{"", "-r", "-a"}, ""},
        {{"lalala", "--json"}, "[]\n"},
        {{"[x]"}, "[x]\n"},
        {{"++"}, "++\n"},
        {{"\xff"}, "a\n\xff\n"},
        {{"\u0131"}, ""},
    };
    for (const auto& row : cases) {
        Words arguments{"find", "d"};
        arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
        const Outcome outcome = orv(arguments);
        EXPECT_EQ(outcome.exit_code, 0) << outcome.err;
        EXPECT_EQ(outcome.out, row.out) << row.arguments[0];
    }
    const std::string json = orv({"find", "d", "eedle", "--content", "--json"}).out;
    EXPECT_NE(json.find("\"name\": \"Needle\""), std::string::npos) << json;
    EXPECT_NE(json.find("\"name\": \"hay\""), std::string::npos) << json;
    EXPECT_TRUE(json.starts_with("[{") && json.ends_with("}]\n")) << json;
    EXPECT_EQ(orv({"find", "d/hay", "x"}).err,
              told("orv: Given url must point to a folder: $W/d/hay\n"));

    ::setenv("LC_ALL", "tr_TR.UTF-8", 1);
    EXPECT_EQ(orv({"find", "d", "\u0131"}).out, "I\n");
    EXPECT_NE(orv({"find", "d", "i", "--content"}).out.find("I\n"), std::string::npos);
    ::unsetenv("LC_ALL");
}

/// A search that has found something and goes on for minutes.
class LongSearch : public CommandTest {
protected:
    LongSearch()
    {
        make_tree(work(), {"needles/file=", "needles/other="});
        for (const char* name : {"needles/file", "needles/other"})
            std::filesystem::resize_file(at(name), std::int64_t{1} << 40);
    }
};

TEST_F(LongSearch, TellsWhatItFindsAtOnceAndIsInterrupted)
{
    const Url out = at("out");
    const pid_t process = start({"find", ".", "needle", "--content", "-r"}, out.path());
    while (read_file(out).empty())
        std::this_thread::yield();
    EXPECT_EQ(read_file(out), "needles\n");
    ::kill(process, SIGINT);
    EXPECT_EQ(exit_code_of(process), 130);
    EXPECT_EQ(read_file(out), "needles\n");
}

TEST_F(LongSearch, KeepsResultsAndProgressApart)
{
    Pseudoterminal terminal(command({"find", ".", "needle", "--content", "-r"}), work());
    terminal.wait_for("needles\r\n");
    terminal.wait_for("Searching 0:02");
    terminal.type(ctrl_c);
    EXPECT_EQ(terminal.finish(), 130);
}

TEST_F(CommandTest, ListsWhatIsProtected)
{
    make_tree(work(), {"a=22", "d/B=1", "c="});
    EXPECT_EQ(orv({"protected"}).out, "");
    for (const char* path : {"a", "d", "d/B"})
        orv({"attr", "set", path, "--protected", "on"});
    EXPECT_EQ(orv({"protected"}).out, told("$W/a\n$W/d/B\n$W/d\n"));
    EXPECT_EQ(orv({"protected", "--desc"}).out, told("$W/d\n$W/d/B\n$W/a\n"));
    EXPECT_EQ(orv({"protected", "--sort", "size"}).out, told("$W/d\n$W/d/B\n$W/a\n"));
    EXPECT_NE(orv({"protected", "--json"}).out.find("\"name\": \"B\""), std::string::npos);
    std::filesystem::remove(at("d/B"));
    const Outcome outcome = orv({"protected"});
    EXPECT_EQ(outcome.exit_code, 0);
    EXPECT_EQ(outcome.out, told("$W/a\n$W/d\n"));
    EXPECT_EQ(outcome.err, "orv: A protected item is gone, and was left out.\n");
}

} // namespace
} // namespace orv::test
