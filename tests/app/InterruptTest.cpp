#include "app/Command.hpp"
#include "app/Pseudoterminal.hpp"

#include <filesystem>
#include <iterator>
#include <optional>
#include <thread>

#include <signal.h>
#include <sqlite3.h>

namespace orv::test {
namespace {

namespace fs = std::filesystem;

/// Keeps every other process from writing to a database.
class DatabaseLock {
public:
    explicit DatabaseLock(const Url& file)
    {
        EXPECT_EQ(::sqlite3_open(file.path().c_str(), &connection_), SQLITE_OK);
        EXPECT_EQ(::sqlite3_exec(connection_, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr),
                  SQLITE_OK);
    }
    ~DatabaseLock() { ::sqlite3_close(connection_); }
    DatabaseLock(const DatabaseLock&) = delete;
    DatabaseLock& operator=(const DatabaseLock&) = delete;

private:
    sqlite3* connection_ = nullptr;
};

TEST_F(CommandTest, StopsACopyBetweenWholeFiles)
{
    // Many names of one file: a copy of each takes its time, the names themselves take none.
    constexpr int count = 800;
    const std::string content(1U << 20, 'x');
    write_file(at("s/0"), content);
    for (int i = 1; i < count; ++i)
        fs::create_hard_link(at("s/0"), at("s/" + std::to_string(i)));

    const pid_t process = start({"cp", "s", "t"});
    while (!fs::exists(at("t")))
        std::this_thread::yield();
    ::kill(process, SIGINT);
    const Outcome outcome = finish(process);

    EXPECT_EQ(outcome.exit_code, 130);
    EXPECT_EQ(outcome.err, told("orv: A part was copied before the interrupt took effect: $W\n"));
    EXPECT_EQ(std::distance(fs::directory_iterator(at("s")), {}), count);
    EXPECT_LT(std::distance(fs::directory_iterator(at("t")), {}), count);
    for (const auto& copied : fs::directory_iterator(at("t")))
        EXPECT_TRUE(read_file(copied.path()) == content) << copied.path();
    EXPECT_EQ(temporaries(), Words{});
}

TEST_F(CommandTest, AnswersAnOpenQuestionWithStopWhenInterrupted)
{
    make_tree(work(), {"s=1", "t=2"});
    for (const int signal : {SIGINT, SIGTERM}) {
        Pseudoterminal terminal(command({"cp", "s", "t"}), work());
        terminal.wait_for("(s)top? ");
        if (signal == SIGINT)
            terminal.type(ctrl_c);
        else
            ::kill(terminal.process(), signal);
        EXPECT_EQ(terminal.finish(), 130);
        EXPECT_TRUE(terminal.shown().ends_with("\r\n")) << terminal.shown();
        EXPECT_EQ(tree(work()), (Words{"s=1", "t=2"}));
    }
}

/// A deletion that waits for the database.
class HeldDeletion : public CommandTest {
protected:
    HeldDeletion()
    {
        make_tree(work(), {"a=1", "b=2"});
        orv({"attr", "set", "a", "--order", "1"});
        lock = std::make_unique<DatabaseLock>(database());
        terminal = std::make_unique<Pseudoterminal>(command({"rm", "a", "b"}), work());
        terminal->wait_for("Deleting 1 of 2 items 0:00");
        terminal->type(ctrl_c);
    }

    std::unique_ptr<DatabaseLock> lock;
    std::unique_ptr<Pseudoterminal> terminal;
};

TEST_F(HeldDeletion, IsFinishedAfterAnInterrupt)
{
    terminal->wait_for("Deleting 1 of 2 items 0:01");
    lock.reset();
    EXPECT_EQ(terminal->finish(), 130);
    EXPECT_EQ(tree(work()), Words{});
    make_tree(work(), {"a=1"});
    EXPECT_NE(orv({"attr", "get", "a"}).out.find("order: none"), std::string::npos);
}

TEST_F(HeldDeletion, EndsAtOnceAtTheSecondInterrupt)
{
    terminal->wait_for("Deleting 1 of 2 items 0:01");
    terminal->type(ctrl_c);
    EXPECT_EQ(terminal->finish(), 130);
    EXPECT_TRUE(terminal->shown().ends_with("\r\n")) << terminal->shown();
    EXPECT_EQ(tree(work()), Words{"b=2"});
}

TEST_F(CommandTest, FinishesTheMoveUnderWayAndTellsIt)
{
    const struct {
        Words arguments;
        std::string shown;
        std::string told;
        Words after;
    } cases[] = {
        {{"mv", "a", "d"},
         "Moving a 0:00",
         "orv: The item was moved before the interrupt took effect: $W/a\r\n",
         {"b=2", "d/", "d/a=1"}},
        {{"mv", "a", "b", "d"},
         "Moving 2 items 0:00",
         "orv: 1 of 2 items were moved before the interrupt took effect: $W/d\r\n",
         {"b=2", "d/", "d/a=1"}},
        {{"rename", "a", "c"},
         "Renaming 0:00",
         "orv: The item was renamed before the interrupt took effect: $W/a\r\n",
         {"b=2", "c=1", "d/"}},
    };
    for (const auto& row : cases) {
        fs::remove_all(work());
        make_tree(work(), {"a=1", "b=2", "d/"});
        orv({"attr", "set", "a", "--order", "1"});
        std::optional<DatabaseLock> lock(database());
        Pseudoterminal terminal(command(row.arguments), work());
        terminal.wait_for(row.shown);
        terminal.type(ctrl_c);
        terminal.wait_for("0:01");
        lock.reset();
        EXPECT_EQ(terminal.finish(), 130);
        EXPECT_TRUE(terminal.shown().ends_with(told(row.told))) << terminal.shown();
        EXPECT_EQ(tree(work()), row.after);
    }
}

TEST_F(CommandTest, TellsThatAnInterruptCameAfterAReplacement)
{
    make_tree(work(), {"a=1", "d/a=2"});
    orv({"attr", "set", "a", "--order", "1"});
    std::optional<DatabaseLock> lock(database());
    Pseudoterminal terminal(command({"cp", "a", "d", "--on-conflict", "replace"}), work());
    while (read_file(at("d/a")) != "1")
        std::this_thread::yield();
    terminal.type(ctrl_c);
    terminal.wait_for("^C");
    lock.reset();
    EXPECT_EQ(terminal.finish(), 130);
    EXPECT_NE(terminal.shown().find("The item was copied before the interrupt took effect"),
              std::string::npos)
        << terminal.shown();
}

TEST_F(CommandTest, LeavesAnIgnoredInterruptIgnored)
{
    const std::string script = "trap '' INT; exec \"$@\"";
    make_tree(work(), {"s=1", "t=2"});
    Words words{"/bin/sh", "-c", script, "sh"};
    const Words orv_words = command({"cp", "s", "t"});
    words.insert(words.end(), orv_words.begin(), orv_words.end());
    Pseudoterminal terminal(words, work());
    terminal.wait_for("(s)top? ");
    ::kill(terminal.process(), SIGINT);
    terminal.type("r\n");
    EXPECT_EQ(terminal.finish(), 0);
    EXPECT_EQ(tree(work()), (Words{"s=1", "t=1"}));
}

} // namespace
} // namespace orv::test
