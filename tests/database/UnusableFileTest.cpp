#include "database/DatabaseFault.hpp"
#include "database/OpenDatabase.hpp"
#include "support/Tree.hpp"
#include "support/Volume.hpp"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>

namespace orv::test {
namespace {

TEST(Open, of_an_unusable_file_tells_which_it_is)
{
    const Scratch folder;
    make_tree(folder.url(), {"folder/", "text=" + std::string(5000, 'x'), "dangling->none/where"});
    ASSERT_EQ(::mkfifo((folder / "pipe").path().c_str(), 0600), 0);
    struct Case {
        Url file;
        bool create;
        DatabaseFault fault;
    };
    const Case cases[] = {
        {folder / "text", true, DatabaseFault::damaged},
        {folder / "folder", true, DatabaseFault::inaccessible},
        {folder / "pipe", true, DatabaseFault::inaccessible},
        {folder / "dangling", true, DatabaseFault::inaccessible},
        {folder / "absent", false, DatabaseFault::inaccessible},
        {folder / "absent/file", true, DatabaseFault::inaccessible},
        {Url(), true, DatabaseFault::inaccessible},
    };
    const auto before = tree(folder.url());
    for (const Case& one : cases) {
        const auto error = error_of([&] { Database().open(one.file, one.create); });
        ASSERT_TRUE(error) << one.file.path();
        EXPECT_EQ(database_fault(*error), one.fault) << error->message();
        EXPECT_EQ(error->path(), one.file);
        EXPECT_NE(error->message().find(one.file.path()), std::string::npos) << error->message();
    }
    EXPECT_EQ(tree(folder.url()), before);
}

TEST(Open, of_a_read_only_file_says_so)
{
    const auto volume = Volume::in_memory(1024);
    if (!volume)
        GTEST_SKIP() << "this user may mount nothing";
    const Url file = volume->url().appending("a.sqlite");
    Database().open(file, true);
    ASSERT_EQ(
        ::mount(nullptr, volume->url().path().c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr),
        0);
    const auto error = error_of([&] { Database().open(file, true); });
    ASSERT_TRUE(error);
    EXPECT_NE(error->message().find("the database is read-only"), std::string::npos)
        << error->message();
}

TEST(Open, takes_names_of_any_bytes)
{
    const Scratch folder;
    for (const char* name : {"a?mode=memory", "\xFF.sqlite", "file:x", ":memory:", "%41"}) {
        Database().open(folder / name, true);
        EXPECT_TRUE(std::filesystem::exists(folder / name)) << name;
    }
}

TEST(DamagedFile, is_an_error_and_no_crash)
{
    const Scratch folder;
    const Url file = folder / "a.sqlite";
    {
        Database database;
        database.open(file, true);
        database.execute("CREATE TABLE t (v UNIQUE)");
        database.save_point([&] {
            for (int i = 0; i < 2000; ++i)
                database.execute("INSERT INTO t VALUES (?)", {"some text " + std::to_string(i)});
        });
    }
    std::string content = read_file(file);
    for (std::size_t i = 4096; i < content.size(); i += 7)
        content[i] = static_cast<char>(0x80U | (i & 0x7FU));
    write_file(file, content);

    Database database;
    const auto error = error_of([&] {
        database.open(file, true);
        (void)texts(database, "SELECT v FROM t ORDER BY v");
    });
    ASSERT_TRUE(error);
    EXPECT_EQ(database_fault(*error), DatabaseFault::damaged) << error->message();
    EXPECT_EQ(error->path(), file);
}

} // namespace
} // namespace orv::test
