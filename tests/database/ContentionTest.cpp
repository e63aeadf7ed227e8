#include "database/OpenDatabase.hpp"

#include <array>
#include <iostream>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orv::test {
namespace {

constexpr int processes = 12;
constexpr int writes = 100;

class CounterTable final : public Upgrader {
public:
    [[nodiscard]] int latest_version() const override { return 3; }
    void upgrade_step(Database& database, int /*from_version*/, int to_version) override
    {
        if (to_version == 2)
            database.execute("CREATE TABLE counter (value INTEGER)");
        else
            database.execute("INSERT INTO counter VALUES (0)");
    }
};

std::int64_t counter(Database& database)
{
    return std::stoll(texts(database, "SELECT value FROM counter").at(0));
}

/// Opens the file, which may be new, and adds twice the number of `writes`.
void count_up(const Url& file)
{
    Database database;
    database.open(file, true);
    CounterTable upgrader;
    database.upgrade(upgrader);
    for (int i = 0; i < writes; ++i) {
        database.save_point(
            [&] { database.execute("UPDATE counter SET value = ?", {counter(database) + 1}); });
        database.read_transaction([&] { return counter(database); });
        database.execute("UPDATE counter SET value = value + 1");
    }
}

/// Runs `action` in a process of its own.
template <class Action>
pid_t start_process(Action action)
{
    const pid_t process = ::fork();
    if (process != 0)
        return process;
    const auto error = error_of(action);
    if (error)
        std::cerr << error->message() << '\n';
    ::_exit(error ? 1 : 0);
}

/// Lets the processes go that wait for it, all at once.
class StartingGate {
public:
    StartingGate()
    {
        if (::pipe(ends_.data()) != 0)
            throw Error("no pipe could be made");
    }

    void wait() const
    {
        ::close(ends_[1]);
        char byte = 0;
        EXPECT_EQ(::read(ends_[0], &byte, 1), 0);
    }

    void open() const
    {
        ::close(ends_[0]);
        ::close(ends_[1]);
    }

private:
    std::array<int, 2> ends_{};
};

/// Runs `action` in many processes at once, and says how many of them failed.
template <class Action>
int failures(Action action)
{
    const StartingGate gate;
    std::vector<pid_t> started;
    for (int i = 0; i < processes; ++i)
        started.push_back(start_process([&] {
            gate.wait();
            action();
        }));
    gate.open();
    int failed = 0;
    for (const pid_t process : started) {
        int status = -1;
        ::waitpid(process, &status, 0);
        failed += status == 0 ? 0 : 1;
    }
    return failed;
}

TEST(Contention, of_processes_that_open_a_new_file_does_not_fail)
{
    for (int round = 0; round < 20; ++round) {
        const Scratch folder;
        const auto open_again_and_again = [&] {
            for (int i = 0; i < 5; ++i) {
                Database database;
                database.open(folder / "a.sqlite", true);
                CounterTable upgrader;
                database.upgrade(upgrader);
                database.execute("UPDATE counter SET value = value + 1");
            }
        };
        EXPECT_EQ(failures(open_again_and_again), 0);
    }
}

TEST(Contention, of_processes_that_write_loses_nothing)
{
    const Scratch folder;
    const Url file = folder / "a.sqlite";
    EXPECT_EQ(failures([&] { count_up(file); }), 0);
    Database database;
    database.open(file, false);
    EXPECT_EQ(counter(database), processes * 2 * writes);
}

TEST(Contention, with_a_process_that_was_killed_ends_with_what_it_had_stored)
{
    const Scratch folder;
    const Url file = folder / "a.sqlite";
    const pid_t process = start_process([&] {
        Database database;
        database.open(file, true);
        CounterTable upgrader;
        database.upgrade(upgrader);
        database.execute("UPDATE counter SET value = 5");
        database.save_point([&] {
            database.execute("UPDATE counter SET value = 6");
            ::_exit(0);
        });
    });
    ::waitpid(process, nullptr, 0);
    Database database;
    database.open(file, false);
    EXPECT_EQ(counter(database), 5);
    database.execute("UPDATE counter SET value = 7");
    EXPECT_EQ(counter(database), 7);
}

} // namespace
} // namespace orv::test
