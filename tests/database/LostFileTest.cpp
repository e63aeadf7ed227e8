#include "database/OpenDatabase.hpp"
#include "support/Tree.hpp"

#include <filesystem>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

namespace fs = std::filesystem;

/// A file that two connections, as of two processes, have open.
struct SharedFile : OpenDatabase {
    Database other;

    SharedFile()
    {
        other.open(file, false);
        insert("before");
    }

    void remove(const std::vector<std::string>& ends) const
    {
        for (const std::string& end : ends)
            fs::remove(file.path() + end);
    }

    /// Puts a complete database with the value "another" in place of the file.
    void replace() const
    {
        const Url another = folder / "another";
        {
            Database its_own;
            its_own.open(another, true);
            its_own.execute("CREATE TABLE t (v UNIQUE)");
            its_own.execute("INSERT INTO t VALUES ('another')");
        }
        fs::rename(another.path(), file.path());
    }

    /// What a process sees that opens the file now.
    Texts stored() const
    {
        Database third;
        third.open(file, false);
        EXPECT_EQ(texts(third, "PRAGMA integrity_check"), Texts{"ok"});
        return texts(third, "SELECT v FROM t ORDER BY v");
    }
};

TEST(LostFile, that_was_deleted_is_put_back_with_all_that_it_held)
{
    const std::vector<std::string> lost[] = {{""}, {"", "-wal", "-shm"}};
    for (const auto& ends : lost) {
        SharedFile shared;
        shared.remove(ends);
        shared.insert("after");
        shared.other.save_point([&] { shared.other.execute("INSERT INTO t VALUES ('other')"); });
        shared.insert("again");
        EXPECT_EQ(shared.stored(), (Texts{"after", "again", "before", "other"}));
        EXPECT_EQ(shared.values(), shared.stored());
    }
}

TEST(LostFile, that_was_deleted_during_a_transaction_is_put_back_after_it)
{
    SharedFile shared;
    shared.database.save_point([&] {
        shared.insert("in");
        shared.remove({"", "-wal", "-shm"});
    });
    EXPECT_EQ(shared.stored(), (Texts{"before", "in"}));
}

TEST(LostFile, that_was_replaced_gives_way_to_the_other_without_a_trace)
{
    SharedFile shared;
    shared.replace();
    EXPECT_EQ(shared.values(), Texts{"another"});
    shared.insert("after");
    shared.other.execute("INSERT INTO t VALUES ('other')");
    EXPECT_EQ(shared.stored(), (Texts{"after", "another", "other"}));
}

TEST(LostFile, that_was_replaced_during_a_transaction_ends_it_with_an_error)
{
    SharedFile shared;
    const auto write = [&] {
        shared.insert("in");
        shared.replace();
    };
    const auto error = error_of([&] { shared.database.save_point(write); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->path(), shared.file);
    shared.insert("after");
    EXPECT_EQ(shared.stored(), (Texts{"after", "another"}));
}

TEST(LostFile, whose_folder_is_gone_too_is_an_error)
{
    SharedFile shared;
    fs::remove_all(shared.folder.url().path());
    const auto error = error_of([&] { shared.insert("after"); });
    ASSERT_TRUE(error);
    EXPECT_NE(error->message().find("deleted while it was open"), std::string::npos);
}

} // namespace
} // namespace orv::test
