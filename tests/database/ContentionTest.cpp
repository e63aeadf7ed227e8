#include "database/OpenDatabase.hpp"

#include <iostream>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orv::test {
namespace {

constexpr int processes = 6;
constexpr int rounds = 60;

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

void count_up(const Url& file)
{
    Database database;
    database.open(file, true);
    CounterTable upgrader;
    database.upgrade(upgrader);
    for (int i = 0; i < rounds; ++i) {
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

TEST(Contention, of_processes_neither_fails_nor_loses_a_write)
{
    const Scratch folder;
    const Url file = folder / "a.sqlite";
    std::vector<pid_t> started;
    for (int i = 0; i < processes; ++i)
        started.push_back(start_process([&] { count_up(file); }));
    for (const pid_t process : started) {
        int status = -1;
        ::waitpid(process, &status, 0);
        EXPECT_EQ(status, 0);
    }
    Database database;
    database.open(file, false);
    EXPECT_EQ(counter(database), processes * rounds * 2);
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
