#include "app/Command.hpp"
#include "app/Pseudoterminal.hpp"

#include <filesystem>

namespace orv::test {
namespace {

namespace fs = std::filesystem;

const std::string taken = "orv: Destination item already exists: $W/a.zip\n";
const std::string is_folder = "orv: An archive can't take the place of a folder: $W/";
const std::string inside = "orv: An archive can't lie in what it packs: $W/";

/// Archives that the command has made, with the password of the file "pw" or without one.
class ArchiveCommandTest : public CommandTest {
protected:
    ArchiveCommandTest()
    {
        make_tree(work(), {"s/a=1", "s/d/b=2"});
        write_file(home().appending("pw"), "geheim\nsecond line\n");
        write_file(home().appending("wrong"), "Geheim");
        write_file(home().appending("empty"), "\n");
        orv({"zip", "plain.zip", "s"});
        orv({"zip", "locked.zip", "s", "--password-file", password("pw")});
        fs::remove_all(at("s"));
    }

    [[nodiscard]] std::string password(std::string_view name) const
    {
        return home().appending(name).path();
    }
};

TEST_F(CommandTest, PacksWhatAnArchiveCanHold)
{
    const ChangeCase cases[] = {
        {{"s/a=1"},
         {"zip", "a.zip", "t"},
         1,
         "orv: Source item doesn't exist: $W/t\n",
         {"s/", "s/a=1"}},
        {{"s/a=1"},
         {"zip", "s", "s/a", "--on-conflict", "replace"},
         1,
         is_folder + "s\n",
         {"s/", "s/a=1"}},
        {{"s=1"}, {"zip", "a.zip/", "s"}, 1, is_folder + "a.zip\n", {"s=1"}},
        {{"s/a=1"}, {"zip", "s/a.zip", "s"}, 1, inside + "s/a.zip\n", {"s/", "s/a=1"}},
        {{"s/a=1"}, {"zip", "a.zip", "."}, 1, inside + "a.zip\n", {"s/", "s/a=1"}},
        {{"a.zip=1", "s=2"}, {"zip", "a.zip", "s"}, 1, taken, {"a.zip=1", "s=2"}},
    };
    for (const ChangeCase& row : cases)
        check(row);
}

TEST_F(CommandTest, PacksToAnotherNameOrInPlaceOfAnArchiveAsSaid)
{
    for (const std::string on_conflict : {"keep-both", "replace"}) {
        fs::remove_all(work());
        make_tree(work(), {"a.zip=1", "s=2"});
        EXPECT_EQ(orv({"zip", "a.zip", "s", "--on-conflict", on_conflict}).err, "");
        EXPECT_EQ(read_file(at("a.zip")) == "1", on_conflict == "keep-both");
        const std::string made = on_conflict == "keep-both" ? "a 2.zip" : "a.zip";
        EXPECT_EQ(orv({"unzip", made, "."}).err, "");
        EXPECT_EQ(read_file(at(made.substr(0, made.size() - 4) + "/s")), "2");
    }
}

TEST_F(ArchiveCommandTest, UnpacksWithTheRightPasswordAlone)
{
    const std::string failed = "orv: Unzip operation failed: $W/locked.zip: ";
    const struct {
        std::string archive;
        std::string password;
        std::string told;
        std::string made;
    } cases[] = {
        {"plain.zip", "", "", "plain"},
        {"plain.zip", "pw", "Unpacked into \"plain 2\", since \"plain\" exists.\n", "plain 2"},
        {"locked.zip", "pw", "", "locked"},
        {"locked.zip", "",
         "orv: The archive needs a password; --ask-password asks for it, --password-file takes it "
         "from a file: $W/locked.zip\n",
         ""},
        {"locked.zip", "wrong", failed + "The password is wrong\n", ""},
        {"locked.zip", "empty", "orv: The password is empty\n", ""},
        {"locked.zip", "none",
         "orv: Couldn't read the password: " + password("none") + ": No such file or directory\n",
         ""},
        {"none.zip", "", "orv: Archive file doesn't exist: $W/none.zip\n", ""},
    };
    Words expected{"locked.zip", "plain.zip"};
    for (const auto& row : cases) {
        Words arguments{"unzip", row.archive, "."};
        if (!row.password.empty())
            arguments.insert(arguments.end(), {"--password-file", password(row.password)});
        EXPECT_EQ(orv(arguments).err, told(row.told)) << row.archive << " " << row.password;
        if (!row.made.empty()) {
            EXPECT_EQ(tree(at(row.made)), (Words{"s/", "s/a=1", "s/d/", "s/d/b=2"}));
            expected.push_back(row.made);
        }
        EXPECT_EQ(std::distance(fs::directory_iterator(work()), {}), std::ssize(expected));
    }
}

TEST_F(ArchiveCommandTest, AsksForAPasswordWithoutShowingIt)
{
    Pseudoterminal unpacking(command({"unzip", "locked.zip", ".", "--ask-password"}), work());
    unpacking.wait_for("Password for locked.zip: ");
    unpacking.type("geheim\n");
    EXPECT_EQ(unpacking.finish(), 0);
    EXPECT_EQ(unpacking.shown().find("geheim"), std::string::npos);
    EXPECT_EQ(read_file(at("locked/s/a")), "1");
}

TEST_F(CommandTest, AsksTwiceForANewPassword)
{
    const struct {
        std::string first;
        std::string second;
        int exit_code;
        std::string told;
    } cases[] = {
        {"x\n", "x\n", 0, ""},
        {"x\n", "y\n", 1, "orv: The two passwords differ\r\n"},
        {"x\n", std::string(ctrl_c), 130, ""},
    };
    for (const auto& row : cases) {
        fs::remove_all(work());
        make_tree(work(), {"s=1"});
        Pseudoterminal packing(command({"zip", "a.zip", "s", "--ask-password"}), work());
        packing.wait_for("New password for a.zip: ");
        packing.type(row.first);
        packing.wait_for("Once more: ");
        packing.type(row.second);
        EXPECT_EQ(packing.finish(), row.exit_code);
        EXPECT_NE(packing.shown().find(row.told), std::string::npos) << packing.shown();
        EXPECT_EQ(fs::exists(at("a.zip")), row.exit_code == 0);
    }
}

TEST_F(CommandTest, ShowsWhatIsTypedAfterAPasswordAgain)
{
    const Words words = command({"zip", "a.zip", "s", "--ask-password"});
    make_tree(work(), {"s=1"});
    for (const std::string_view end : {std::string_view("\n"), ctrl_c}) {
        Words script{"/bin/sh", "-c", "trap : INT; \"$@\"; stty -a", "sh"};
        script.insert(script.end(), words.begin(), words.end());
        Pseudoterminal terminal(script, work());
        terminal.wait_for("New password for a.zip: ");
        terminal.type(end);
        terminal.wait_for(" echo ");
        EXPECT_EQ(terminal.finish(), 0);
    }
}

TEST_F(CommandTest, LeavesNothingOfAnInterruptedPackingOrUnpacking)
{
    fs::create_directory(at("s"));
    write_file(at("s/big"), "");
    fs::resize_file(at("s/big"), std::uintmax_t{1} << 33);
    const auto interrupt = [&](const Words& arguments, const std::string& shown) {
        Pseudoterminal terminal(command(arguments), work());
        terminal.wait_for(shown);
        terminal.type(ctrl_c);
        EXPECT_EQ(terminal.finish(), 130);
        EXPECT_EQ(temporaries(), Words{});
    };
    interrupt({"zip", "a.zip", "s"}, "% [");
    EXPECT_FALSE(fs::exists(at("a.zip")));

    fs::resize_file(at("s/big"), std::uintmax_t{1} << 31);
    ASSERT_EQ(orv({"zip", "a.zip", "s"}).err, "");
    interrupt({"unzip", "a.zip", "."}, "% [");
    EXPECT_FALSE(fs::exists(at("a")));
}

} // namespace
} // namespace orv::test
