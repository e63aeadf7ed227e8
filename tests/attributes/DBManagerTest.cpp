#include "Database/DBManager.hpp"

#include "support/Scratch.hpp"
#include "support/Tree.hpp"

#include <filesystem>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

/// The table's columns with their types and defaults, then each row.
std::vector<std::string> content(Database& database)
{
    std::vector<std::string> lines;
    const auto take = [&](const Row& row) {
        lines.emplace_back(row.text(0));
        return true;
    };
    database.query("SELECT concat FROM (SELECT name || ' ' || type || ' ' || ifnull(dflt_value, '')"
                   " AS concat FROM pragma_table_info('custom_attributes'))",
                   {}, take);
    database.query(
        "SELECT relative_path || ' ' || is_protected || ' ' || is_custom_sorted || ' ' ||"
        " was_custom_sorted_at_least_once FROM custom_attributes",
        {}, take);
    database.query("SELECT 'version ' || user_version FROM pragma_user_version", {}, take);
    return lines;
}

TEST(DBManager, brings_every_version_to_the_current_schema)
{
    const std::string create = "CREATE TABLE custom_attributes (relative_path TEXT UNIQUE,"
                               " is_protected INTEGER, order_no INTEGER";
    const std::string sorted = ", is_custom_sorted INTEGER DEFAULT 0";
    const std::string once = ", was_custom_sorted_at_least_once INTEGER DEFAULT 0";
    struct Case {
        std::string table;
        int version;
    };
    const Case cases[] = {{"", 0},
                          {create, 2},
                          {create + sorted, 3},
                          {create + sorted + once, 4},
                          {create + sorted + once, 9}};
    for (const Case& one : cases) {
        const Scratch folder;
        const Url file = folder / "db";
        std::vector<std::string> expected = {"relative_path TEXT ", "is_protected INTEGER ",
                                             "order_no INTEGER ", "is_custom_sorted INTEGER 0",
                                             "was_custom_sorted_at_least_once INTEGER 0"};
        if (!one.table.empty()) {
            Database database;
            database.open(file, true);
            database.execute(one.table + ")");
            database.execute("INSERT INTO custom_attributes (relative_path, is_protected)"
                             " VALUES ('a', 1)");
            database.execute("PRAGMA user_version = " + std::to_string(one.version));
            expected.push_back("a 1 0 0");
        }
        expected.push_back("version " + std::to_string(std::max(one.version, 4)));
        DBManager manager;
        manager.setup(file);
        EXPECT_EQ(content(manager.db()), expected) << one.version;
    }
}

TEST(DBManager, brings_a_file_that_takes_the_place_of_its_own_to_the_current_schema)
{
    const Scratch folder;
    DBManager manager;
    manager.setup(folder / "db");
    const auto current = content(manager.db());
    Database().open(folder / "empty", true);
    std::filesystem::rename(folder / "empty", folder / "db");
    EXPECT_EQ(content(manager.db()), current);
}

TEST(DBUpgrader, knows_no_other_steps)
{
    Database unopened;
    DBUpgrader upgrader;
    for (const int version : {-1, 0, 1, 5})
        EXPECT_NO_THROW(upgrader.upgrade_step(unopened, version - 1, version));
}

TEST(DBManager, creates_its_folder_for_the_owner_alone)
{
    const Scratch folder;
    DBManager().setup(folder / "a/b/db");
    for (const char* name : {"a", "a/b"})
        EXPECT_EQ(std::filesystem::status(folder / name).permissions(),
                  std::filesystem::perms::owner_all);
}

TEST(DBManagerDeathTest, an_unusable_file_ends_the_process_with_advice)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const Scratch folder;
    make_tree(folder.url(), {"text=" + std::string(5000, 'x'), "folder/"});
    EXPECT_DEATH(DBManager().setup(folder / "text"),
                 "orv: The attributes database at .*/text can't be used.*not a database.*"
                 "Move the file away");
    EXPECT_DEATH(DBManager().setup(folder / "folder"), "/folder can't be used.*Make sure");
    EXPECT_DEATH(DBManager().setup(folder / "text/db"), "/text/db can't be used.*Make sure");
}

} // namespace
} // namespace orv::test
