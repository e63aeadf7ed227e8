#include "database/OpenDatabase.hpp"

#include <gtest/gtest.h>

namespace orv::test {
namespace {

TEST(SavePoint, undoes_what_a_closure_that_throws_has_written)
{
    OpenDatabase open;
    const auto fail = [&] {
        open.insert("a");
        throw 7;
    };
    EXPECT_THROW(open.database.save_point(fail), int);
    EXPECT_EQ(open.values(), Texts{});
    EXPECT_EQ(open.database.save_point([&] { return open.values().size(); }), 0U);
}

TEST(SavePoint, undoes_an_inner_one_alone)
{
    OpenDatabase open;
    open.database.save_point([&] {
        open.insert("a");
        const auto inner = [&] {
            open.insert("b");
            open.database.save_point([&] { open.insert("c"); });
            throw 7;
        };
        EXPECT_THROW(open.database.save_point(inner), int);
        open.database.save_point([&] { open.insert("d"); });
    });
    EXPECT_EQ(open.values(), (Texts{"a", "d"}));
}

TEST(SavePoint, goes_on_after_a_statement_that_failed)
{
    OpenDatabase open;
    open.database.save_point([&] {
        open.insert("a");
        EXPECT_TRUE(error_of([&] { open.insert("a"); }));
        open.insert("b");
    });
    EXPECT_EQ(open.values(), (Texts{"a", "b"}));
}

TEST(DurableSavePoint, is_refused_inside_a_transaction_and_leaves_others_as_fast_as_before)
{
    OpenDatabase open;
    const auto durable = [&] { open.database.durable_save_point([&] { open.insert("a"); }); };
    EXPECT_TRUE(error_of([&] { open.database.save_point(durable); }));
    EXPECT_TRUE(error_of([&] { open.database.read_transaction(durable); }));
    durable();
    EXPECT_TRUE(error_of(durable)) << "it is there already";
    EXPECT_EQ(open.values(), Texts{"a"});
    EXPECT_EQ(texts(open.database, "PRAGMA synchronous"), Texts{"1"});
}

TEST(SavePoint, stores_nothing_once_sqlite_has_undone_the_transaction)
{
    OpenDatabase open;
    open.insert("a");
    const auto write = [&] {
        open.insert("b");
        EXPECT_TRUE(
            error_of([&] { open.database.execute("INSERT OR ROLLBACK INTO t VALUES ('a')"); }));
        EXPECT_TRUE(error_of([&] { open.insert("c"); }));
        EXPECT_TRUE(error_of([&] { open.database.save_point([&] { open.insert("d"); }); }));
    };
    EXPECT_TRUE(error_of([&] { open.database.save_point(write); }));
    EXPECT_EQ(open.values(), Texts{"a"});
    open.database.save_point([&] { open.insert("e"); });
    EXPECT_EQ(open.values(), (Texts{"a", "e"}));
}

TEST(ReadTransaction, reads_all_of_one_moment)
{
    OpenDatabase open;
    Database other;
    other.open(open.file, false);
    open.database.read_transaction([&] {
        EXPECT_EQ(open.values(), Texts{});
        other.execute("INSERT INTO t VALUES ('a')");
        EXPECT_EQ(open.database.read_transaction([&] { return open.values(); }), Texts{});
    });
    EXPECT_EQ(open.values(), Texts{"a"});
}

TEST(ReadTransaction, refuses_to_write_unless_a_save_point_encloses_it)
{
    OpenDatabase open;
    open.database.read_transaction([&] {
        EXPECT_TRUE(error_of([&] { open.insert("a"); }));
        EXPECT_TRUE(error_of([&] { open.database.save_point([&] { open.insert("b"); }); }));
    });
    EXPECT_THROW(open.database.read_transaction([] { throw 7; }), int);
    open.database.save_point([&] {
        open.database.read_transaction([&] { open.insert("c"); });
        const auto leave = [&] {
            open.database.save_point([&] { open.insert("d"); });
            throw 7;
        };
        EXPECT_THROW(open.database.read_transaction(leave), int);
    });
    EXPECT_EQ(open.values(), (Texts{"c", "d"}));
}

} // namespace
} // namespace orv::test
