#include "app/Command.hpp"

#include <filesystem>

namespace orv::test {
namespace {

namespace fs = std::filesystem;

/// A change, its undo by another process, and the refusal after something else has happened.
struct UndoCase {
    const char* name;
    Words before;
    Words command;
    const char* change; ///< a shell command
    const char* reason; ///< "$W" is the work folder
};

const UndoCase undo_cases[] = {
    {"copy", {"a=1", "d/"}, {"cp", "a", "d"}, "echo 2 > d/a", "the item was changed since: $W/d/a"},
    {"copy_of_folder",
     {"d/x=1", "e/"},
     {"cp", "d", "e"},
     "echo 2 > e/d/x",
     "something in it was changed since: $W/e/d/x"},
    {"copy_that_merges",
     {"d/x=1", "d/n/y=2", "e/d/z=3"},
     {"cp", "d", "e", "--on-conflict", "merge"},
     "rm e/d/x",
     "the item is gone: $W/e/d/x"},
    {"move", {"a=1", "d/"}, {"mv", "a", "d"}, "echo 2 > a", "its name is taken: $W/a"},
    {"move_that_merges",
     {"d/n/y=2", "e/d/n/z=3"},
     {"mv", "d", "e", "--on-conflict", "merge"},
     "rm e/d/n/y",
     "the item is gone: $W/e/d/n/y"},
    {"rename", {"a=1"}, {"rename", "a", "b"}, "rm b; mkdir b", "another item has its place: $W/b"},
    {"new_folders",
     {},
     {"mkdir", "-p", "x/y"},
     "echo 2 > x/own",
     "the new folder isn't empty: $W/x"},
    {"zip",
     {"a=1"},
     {"zip", "z.zip", "a"},
     "echo 2 >> z.zip",
     "the item was changed since: $W/z.zip"},
    {"unzip",
     {"z.zip=0"},
     {"unzip", "z.zip", "."},
     "echo 2 > z/own",
     "the item was changed since: $W/z"},
    {"write", {}, {"write", "a"}, "rm a", "the item is gone: $W/a"},
    {"trash", {"a=1", "d/x=2"}, {"trash", "a", "d"}, "echo 2 > a", "its name is taken: $W/a"},
    {"restore",
     {"a=1"},
     {"trash", "--restore", "a"},
     "rm a; mkdir a",
     "another item has its place: $W/a"},
    {"attributes", {"a=1"}, {"attr", "set", "a", "--order", "5"}, "rm a", "the item is gone: $W/a"},
};

class UndoCommandTest : public CommandTest {
protected:
    /// Makes the items, and brings them into the state that the command starts from.
    void prepare(const UndoCase& row)
    {
        fs::remove_all(work());
        fs::create_directories(fs::path(work()));
        make_tree(work(), row.before);
        const std::string name = row.name;
        make_tree(home(), {"input=written"});
        set_input(home().appending("input").path());
        if (name == "unzip") {
            fs::remove(at("z.zip"));
            make_tree(work(), {"a=1"});
            orv({"zip", "z.zip", "a"});
        } else if (name == "restore") {
            orv({"trash", "a"});
        }
    }

    void run_in_shell(const std::string& text)
    {
        const std::string line = "cd '" + work().path() + "' && { " + text + "; }";
        EXPECT_EQ(std::system(line.c_str()), 0) << text;
    }
};

TEST_F(UndoCommandTest, TakesBackTheLastChangeInAnotherProcessOrSaysWhyNot)
{
    for (const UndoCase& row : undo_cases) {
        SCOPED_TRACE(row.name);
        prepare(row);
        const Words before = tree(work());
        const std::string attributes = orv({"attr", "get", "a"}).out;
        EXPECT_EQ(orv(row.command).err, "");
        const Outcome undone = orv({"undo"});
        EXPECT_EQ(undone.err, "");
        EXPECT_TRUE(undone.out.starts_with("Undone: ")) << undone.out;
        EXPECT_EQ(tree(work()), before);
        EXPECT_EQ(orv({"attr", "get", "a"}).out, attributes);

        EXPECT_EQ(orv(row.command).err, "");
        run_in_shell(row.change);
        const Words after = tree(work());
        const Outcome refused = orv({"undo"});
        EXPECT_EQ(refused.exit_code, 1);
        EXPECT_EQ(refused.err,
                  told(std::string("orv: It can't be undone, because ") + row.reason + "\n"));
        EXPECT_EQ(tree(work()), after);
    }
}

TEST_F(UndoCommandTest, TakesBackOneChangeAfterTheOther)
{
    make_tree(work(), {"a=1", "d/"});
    const Words before = tree(work());
    const std::vector<Words> commands{{"cp", "a", "d"},       {"rename", "d/a", "b"},
                                      {"mv", "d/b", "c"},     {"attr", "set", "c", "--order", "1"},
                                      {"mkdir", "-p", "e/f"}, {"mv", "c", "e/f"},
                                      {"trash", "e"}};
    for (const Words& command : commands)
        EXPECT_EQ(orv(command).err, "");
    EXPECT_NE(orv({"undo", "--list"}).out.find("Undo moving to the trash: “e”"), std::string::npos);
    for (std::size_t i = 0; i < commands.size(); ++i)
        EXPECT_EQ(orv({"undo"}).err, "");
    EXPECT_EQ(tree(work()), before);
    EXPECT_EQ(orv({"undo"}).err, "orv: There is nothing to undo\n");
}

TEST_F(UndoCommandTest, ARefusedChangeDoesNotKeepEarlierOnesFromTheirUndo)
{
    make_tree(work(), {"a=1"});
    orv({"cp", "a", "b"});
    orv({"cp", "a", "c"});
    write_file(at("c"), "edited");
    EXPECT_EQ(orv({"undo"}).exit_code, 1);
    EXPECT_NE(orv({"undo", "--list"}).out.find("“c” (refused before)"), std::string::npos);
    EXPECT_EQ(orv({"undo"}).out, "Undone: copying “b”\n");
    EXPECT_EQ(tree(work()), (Words{"a=1", "c=edited"}));
    EXPECT_EQ(orv({"undo"}).exit_code, 1);
}

} // namespace
} // namespace orv::test
