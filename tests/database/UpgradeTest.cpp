#include "database/OpenDatabase.hpp"

#include <gtest/gtest.h>

namespace orv::test {
namespace {

/// Adds a column for each version, and fails at one if told to.
class ColumnPerVersion final : public Upgrader {
public:
    explicit ColumnPerVersion(int failing_version = 0) : failing_version_(failing_version) {}

    [[nodiscard]] int latest_version() const override { return 4; }

    void upgrade_step(Database& database, int from_version, int to_version) override
    {
        steps += std::to_string(from_version) + std::to_string(to_version) + " ";
        database.execute("ALTER TABLE t ADD COLUMN c" + std::to_string(to_version));
        if (to_version == failing_version_)
            throw Error("no");
    }

    std::string steps;

private:
    int failing_version_;
};

Texts columns(OpenDatabase& open)
{
    return texts(open.database, "SELECT name FROM pragma_table_info('t')");
}

std::string version(OpenDatabase& open)
{
    return texts(open.database, "PRAGMA user_version").at(0);
}

TEST(Upgrade, takes_every_step_from_the_stored_version)
{
    struct Case {
        std::string stored;
        std::string steps;
        std::string version;
    };
    const Case cases[] = {
        {"0", "12 23 34 ", "4"}, {"1", "12 23 34 ", "4"}, {"-3", "12 23 34 ", "4"},
        {"3", "34 ", "4"},       {"4", "", "4"},          {"9", "", "9"},
    };
    for (const Case& one : cases) {
        OpenDatabase open;
        open.database.execute("PRAGMA user_version = " + one.stored);
        ColumnPerVersion upgrader;
        EXPECT_EQ(open.database.upgrade(upgrader), !one.steps.empty()) << one.stored;
        EXPECT_EQ(upgrader.steps, one.steps) << one.stored;
        EXPECT_EQ(version(open), one.version) << one.stored;
    }
}

TEST(Upgrade, that_fails_half_way_leaves_the_schema_as_it_was)
{
    OpenDatabase open;
    ColumnPerVersion failing(3);
    EXPECT_EQ(error_of([&] { open.database.upgrade(failing); })->message(), "no");
    EXPECT_EQ(version(open), "0");
    EXPECT_EQ(columns(open), Texts{"v"});

    ColumnPerVersion upgrader;
    EXPECT_TRUE(open.database.upgrade(upgrader));
    EXPECT_EQ(columns(open), (Texts{"v", "c2", "c3", "c4"}));
}

} // namespace
} // namespace orv::test
