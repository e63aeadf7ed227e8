#include "database/BulkStatement.hpp"
#include "database/OpenDatabase.hpp"
#include "database/RecordConvertible.hpp"

#include <array>
#include <limits>
#include <thread>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

using namespace std::string_literals;

struct Fruit {
    std::string name;
    std::optional<std::int64_t> count;

    static constexpr std::array<std::string_view, 2> columns{"name", "count"};
    static Fruit from_row(const Row& row)
    {
        return {std::string(row.text(0)), row.optional_integer(1)};
    }
    [[nodiscard]] std::array<Argument, 2> values() const { return {name, argument(count)}; }
    bool operator==(const Fruit&) const = default;
};

std::vector<Argument> numbers(std::size_t count)
{
    std::vector<Argument> list;
    for (std::size_t i = 0; i < count; ++i)
        list.emplace_back(static_cast<std::int64_t>(i));
    return list;
}

TEST(Records, come_back_as_they_were_stored)
{
    OpenDatabase open;
    open.database.execute("CREATE TABLE fruit (count INTEGER, more TEXT, name TEXT UNIQUE)");
    std::vector<Fruit> fruit = {{"", 0},
                                {"a\0b"s, std::nullopt},
                                {"\xFF\xC3\x28", std::numeric_limits<std::int64_t>::min()},
                                {"gr\xC3\xBCn", std::numeric_limits<std::int64_t>::max()}};
    replace_in(open.database, "fruit", fruit);
    fruit[0].count = 7;
    replace_in(open.database, "fruit", fruit[0]);

    EXPECT_EQ(array<Fruit>(open.database, "SELECT * FROM fruit ORDER BY name"),
              (std::vector<Fruit>{fruit[0], fruit[1], fruit[3], fruit[2]}));
    for (const Fruit& one : fruit)
        EXPECT_EQ(instance<Fruit>(open.database, "SELECT * FROM fruit WHERE name = ?", {one.name}),
                  one);
    EXPECT_EQ(instance<Fruit>(open.database, "SELECT * FROM fruit WHERE name = 'none'"),
              std::nullopt);
    EXPECT_TRUE(error_of([&] { array<Fruit>(open.database, "SELECT name FROM fruit"); }))
        << "a result without one of the columns";
}

TEST(BulkStatements, take_any_number_of_values)
{
    OpenDatabase open;
    const std::size_t most = open.database.max_placeholders();
    open.database.execute("CREATE TABLE n (i INTEGER PRIMARY KEY)");
    constexpr std::array<std::string_view, 1> columns{"i"};

    for (const std::size_t count : {std::size_t{0}, std::size_t{1}, most, most + 1, 3 * most}) {
        const std::vector<Argument> values = numbers(count);
        replace_rows(open.database, "n", columns, values);
        std::size_t found = 0;
        const auto take = [&](const Row&) { ++found; };
        query_in(open.database, "SELECT i FROM n WHERE i IN (", values, take, columns);
        EXPECT_EQ(found, count);
        execute_in(open.database, "DELETE FROM n WHERE i IN (", values);
        EXPECT_EQ(texts(open.database, "SELECT count(*) FROM n"), Texts{"0"});
    }
}

TEST(BulkStatements, are_all_or_nothing)
{
    OpenDatabase open;
    open.database.execute("CREATE TABLE n (i INTEGER PRIMARY KEY CHECK (i < 70000))");
    constexpr std::array<std::string_view, 1> columns{"i"};
    EXPECT_TRUE(error_of([&] { replace_rows(open.database, "n", columns, numbers(70'001)); }));
    EXPECT_EQ(texts(open.database, "SELECT count(*) FROM n"), Texts{"0"});
}

TEST(BulkStatements, of_many_sizes_do_not_pile_up_in_the_cache)
{
    OpenDatabase open;
    for (std::size_t count = 1; count < 1000; ++count)
        execute_in(open.database, "DELETE FROM t WHERE v IN (", numbers(count));
    const auto kept = error_of([&] {
        const Texts count = texts(open.database, "SELECT count(*) FROM sqlite_stmt");
        EXPECT_LT(std::stoi(count.at(0)), 40);
    });
    if (kept)
        GTEST_SKIP() << "this SQLite doesn't list its statements";
}

TEST(Statements, that_are_not_exactly_one_are_refused)
{
    struct Case {
        std::string sql;
        bool accepted;
    };
    const Case cases[] = {
        {"DELETE FROM t", true},
        {"DELETE FROM t; \n -- that is all \n ;", true},
        {"DELETE FROM t; DELETE FROM t", false},
        {"DELETE FROM t; nonsense", false},
        {"", false},
        {"-- nothing", false},
        {"DELETE FROM t\0; DROP TABLE t"s, false},
        {"DELETE FROM t WHERE v = ?", false},
        {"nonsense", false},
        {"DELETE FROM missing", false},
    };
    for (const Case& one : cases) {
        OpenDatabase open;
        open.insert("x");
        const auto error = error_of([&] { open.database.execute(one.sql); });
        EXPECT_EQ(!error, one.accepted) << one.sql;
        EXPECT_EQ(open.values(), one.accepted ? Texts() : Texts{"x"}) << one.sql;
        if (error) {
            EXPECT_EQ(error->kind(), Error::Kind::database);
            EXPECT_EQ(error->path(), open.file);
        }
    }
    OpenDatabase open;
    EXPECT_TRUE(error_of([&] { open.database.execute("DELETE FROM t", {1}); }));
    EXPECT_TRUE(error_of([] { Database().execute("SELECT 1"); })) << "not opened";
}

TEST(Statements, left_half_way_by_an_exception_can_be_used_again)
{
    OpenDatabase open;
    for (const char* value : {"a", "b", "c"})
        open.insert(value);
    const auto leave = [](const Row&) -> bool { throw 7; };
    EXPECT_THROW(open.database.query("SELECT v FROM t ORDER BY v", {}, leave), int);
    EXPECT_EQ(open.values(), (Texts{"a", "b", "c"}));
    open.database.execute("DROP TABLE t"); // refused while a statement reads the table
}

TEST(Statements, may_be_executed_while_the_same_is_being_read)
{
    OpenDatabase open;
    for (const char* value : {"a", "b"})
        open.insert(value);
    Texts pairs;
    open.database.query("SELECT v FROM t ORDER BY v", {}, [&](const Row& row) {
        for (const std::string& inner : texts(open.database, "SELECT v FROM t ORDER BY v"))
            pairs.push_back(std::string(row.text(0)) + inner);
        return true;
    });
    EXPECT_EQ(pairs, (Texts{"aa", "ab", "ba", "bb"}));
}

TEST(Sync, may_be_nested_and_hands_back_the_result)
{
    OpenDatabase open;
    const std::string value = open.database.sync([&] {
        return open.database.sync([&] {
            open.insert("a");
            return open.values().at(0);
        });
    });
    EXPECT_EQ(value, "a");
    EXPECT_THROW(open.database.sync([] { throw 7; }), int);
    open.database.sync([&]() -> void { open.insert("b"); });
}

TEST(Sync, gives_threads_turns)
{
    OpenDatabase open;
    open.database.execute("INSERT INTO t VALUES (0)");
    const auto count_up = [&] {
        for (int i = 0; i < 500; ++i)
            open.database.sync([&] {
                const std::int64_t value = std::stoll(open.values().at(0));
                open.database.execute("UPDATE t SET v = ?", {value + 1});
            });
    };
    std::thread other(count_up);
    count_up();
    other.join();
    EXPECT_EQ(open.values(), Texts{"1000"});
}

TEST(SyncDeathTest, refuses_a_hand_over_to_the_main_thread)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto hand_over = [] {
        OpenDatabase open;
        std::thread([&] { open.database.sync([] { main_sync([] {}); }); }).join();
    };
    EXPECT_DEATH(hand_over(), "hand-over to the main thread");
}

} // namespace
} // namespace orv::test
