#include "app/Command.hpp"

#include <cstdlib>

namespace orv::test {
namespace {

const ChangeCase trash_cases[] = {
    {{"a=1", "d/x=2", "l->a"}, {"trash", "a", "d", "l"}, 0, "", {}},
    {{"a=1"},
     {"trash", "a", "b"},
     1,
     "orv: Couldn't move the item to the trash, because it doesn't exist: $W/b\n",
     {"a=1"}},
    {{"d/x=1"},
     {"trash", "d/."},
     1,
     "orv: An item can't be moved to the trash as \".\" or \"..\": $W/d/.\n",
     {"d/", "d/x=1"}},
    {{}, {"trash", "--restore", "b"}, 1, "orv: No item in the trash was there: $W/b\n", {}},
};

class TrashCommandTest : public CommandTest {
protected:
    /// Runs another program in the work folder, on the trash that `orv` uses. Returns what it says.
    std::string other(const std::string& command)
    {
        const Url said = at("said");
        const std::string line = "cd '" + work().path() + "' && HOME='" + home().path() +
                                 "' XDG_DATA_HOME='" + home().path() + "/.local/share' " + command +
                                 " > said 2>&1";
        EXPECT_EQ(std::system(line.c_str()), 0) << read_file(said);
        const std::string text = read_file(said);
        std::filesystem::remove(said);
        return text;
    }
};

TEST_F(TrashCommandTest, MovesWhatItIsGivenOrNothing)
{
    for (const ChangeCase& row : trash_cases)
        check(row);
}

TEST_F(TrashCommandTest, ListsRestoresAndEmpties)
{
    make_tree(work(), {"a=1", "b c=2"});
    EXPECT_EQ(orv({"trash", "a", "b c"}).err, "");
    make_tree(work(), {"a=3"});
    EXPECT_EQ(orv({"trash", "a"}).err, "");
    const std::string json = orv({"trash", "--list", "--json"}).out;
    EXPECT_NE(
        json.find(R"("original_url": "file://)" + work().path() + R"(/b%20c", "deletion_date": ")"),
        std::string::npos)
        << json;
    make_tree(work(), {"a=4"});
    EXPECT_EQ(orv({"trash", "--restore", "a"}).err,
              told("orv: Destination item already exists: $W/a\n"));
    EXPECT_EQ(orv({"trash", "--restore", "a", "b c", "--on-conflict", "keep-both"}).exit_code, 0);
    EXPECT_EQ(orv({"trash", "--empty", "--older-than", "1"}).err, "");
    const Words lines = tree(home().appending(".local/share/Trash/files"));
    EXPECT_EQ(lines.size(), 1U); // of the two that were at "a"
    EXPECT_EQ(orv({"trash", "--empty"}).err, "");
    EXPECT_EQ(orv({"trash", "--list"}).out, "");
    EXPECT_EQ(tree(home().appending(".local/share/Trash")), (Words{"files/", "info/"}));
}

TEST_F(TrashCommandTest, SharesTheTrashWithOtherPrograms)
{
    make_tree(work(), {"by gio=1", "by trash-cli/x=2", "ours%20\u00e4=3"});
    other("gio trash 'by gio'");
    other("trash-put by\\ trash-cli");
    EXPECT_EQ(orv({"trash", "--restore", "by gio", "by trash-cli"}).err, "");
    EXPECT_EQ(tree(work()),
              (Words{"by gio=1", "by trash-cli/", "by trash-cli/x=2", "ours%20\u00e4=3"}));

    EXPECT_EQ(orv({"trash", "by trash-cli", "by gio", "ours%20\u00e4"}).err, "");
    const std::string list = other("trash-list");
    for (const char* name : {"by gio", "by trash-cli"})
        EXPECT_NE(list.find(work().path() + "/" + name + "\n"), std::string::npos) << list;
    for (int i = 0; i < 3; ++i)
        other("sh -c 'echo 0 | trash-restore'");
    EXPECT_EQ(tree(work()),
              (Words{"by gio=1", "by trash-cli/", "by trash-cli/x=2", "ours%20\u00e4=3"}));
    EXPECT_EQ(orv({"trash", "--list"}).out, "");
}

} // namespace
} // namespace orv::test
