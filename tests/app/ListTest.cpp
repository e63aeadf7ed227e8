#include "app/Command.hpp"
#include "app/Pseudoterminal.hpp"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>

namespace orv::test {
namespace {

Words lines(const std::string& text)
{
    std::istringstream stream(text);
    Words result;
    for (std::string line; std::getline(stream, line);)
        result.push_back(line);
    return result;
}

class ListTest : public CommandTest {
protected:
    ListTest()
    {
        make_tree(work(), {"d/b.txt=1", "d/A.png=333", "d/sub/deep=1", "d/c.txt=22", "d/.hid=1",
                           "d/sub.x=1"});
        set_date("d/c.txt", 1'000);
        set_date("d/A.png", 2'000);
        set_date("d/b.txt", 3'000);
        set_date("d/sub.x", 4'000);
        set_date("d/sub", 5'000);
    }

    void set_date(const char* name, time_t seconds) const
    {
        const timespec times[2] = {{seconds, 0}, {seconds, 0}};
        ASSERT_EQ(::utimensat(AT_FDCWD, at(name).path().c_str(), times, 0), 0);
    }

    Words list(Words arguments)
    {
        arguments.insert(arguments.begin(), {"ls", "d"});
        return lines(orv(arguments).out);
    }

    bool says_custom_sorted()
    {
        return orv({"attr", "get", "d"}).out.find("custom sorted: on") != std::string::npos;
    }
};

TEST_F(ListTest, SortsWhatItPrints)
{
    orv({"attr", "set", "d/sub.x", "--order", "1"});
    orv({"attr", "set", "d/c.txt", "--order", "0"});
    const struct {
        Words arguments;
        Words names;
    } cases[] = {
        {{}, {"A.png", "b.txt", "c.txt", "sub", "sub.x"}},
        {{"--desc"}, {"sub.x", "sub", "c.txt", "b.txt", "A.png"}},
        {{"-a"}, {".hid", "A.png", "b.txt", "c.txt", "sub", "sub.x"}},
        {{"-r"}, {"A.png", "b.txt", "c.txt", "sub", "sub/deep", "sub.x"}},
        {{"--sort", "size", "--desc", "-r"}, {"A.png", "c.txt", "*"}},
        {{"--sort", "date"}, {"c.txt", "A.png", "b.txt", "sub.x", "sub"}},
        {{"--sort", "ext"}, {"sub", "A.png", "b.txt", "c.txt", "sub.x"}},
        {{"--sort", "folders"}, {"sub", "A.png", "b.txt", "c.txt", "sub.x"}},
        {{"--sort", "size", "--desc", "--folders-first"}, {"sub", "*"}},
        {{"--sort", "custom"}, {"c.txt", "sub.x", "A.png", "b.txt", "sub"}},
    };
    for (const auto& row : cases) {
        Words names = list(row.arguments);
        if (row.names.back() == "*") {
            names.resize(row.names.size());
            names.back() = "*";
        }
        EXPECT_EQ(names, row.names) << testing::PrintToString(row.arguments);
    }
}

// More than one thread sorts and prints at a time.
TEST_F(ListTest, PrintsEveryItemOfALongListInOrder)
{
    Words names;
    Words entries;
    for (int i = 0; i < 20'001; ++i) {
        names.push_back(std::to_string(100'000 + i));
        entries.push_back("long/" + names.back() + "=");
    }
    make_tree(work(), entries);
    EXPECT_EQ(lines(orv({"ls", "long"}).out), names);
    std::reverse(names.begin(), names.end());
    EXPECT_EQ(lines(orv({"ls", "long", "--desc"}).out), names);
}

TEST_F(ListTest, KeepsTheChoiceOnlyWhenItIsToRememberIt)
{
    orv({"attr", "set", "d", "--protected", "on"});
    orv({"attr", "set", "d/c.txt", "--order", "0"});
    const Words custom{"c.txt", "A.png", "b.txt", "sub", "sub.x"};

    EXPECT_EQ(list({"--sort", "custom"}), custom);
    EXPECT_FALSE(says_custom_sorted());
    EXPECT_EQ(list({"--sort", "custom", "--remember"}), custom);
    EXPECT_TRUE(says_custom_sorted());
    EXPECT_EQ(list({}), custom);
    list({"--sort", "date"});
    EXPECT_TRUE(says_custom_sorted());
    list({"--sort", "date", "--remember"});
    EXPECT_FALSE(says_custom_sorted());
}

TEST_F(ListTest, AlignsDetails)
{
    ::chmod(at("d/A.png").path().c_str(), 0640);
    ::chmod(at("d/sub").path().c_str(), 0755);
    orv({"attr", "set", "d/A.png", "--protected", "on", "--order", "2"});
    std::filesystem::create_symlink("b.txt", at("d/x"));
    set_date("d/A.png", 1'720'000'000);
    ::setenv("TZ", "UTC-2", 1);
    const Words details = list({"--long"});
    ASSERT_EQ(details.size(), 6);
    EXPECT_EQ(details[0], "-rw-r-----  3  2024-07-03 11:46  A.png  [protected, #2]");
    EXPECT_EQ(details[3], "drwxr-xr-x  -  1970-01-01 03:23  sub");
    EXPECT_EQ(details[5].substr(0, 15), "lrwxrwxrwx  -  ");
    EXPECT_EQ(details[5].substr(31), "  x -> b.txt");
}

TEST_F(ListTest, TellsEverythingAsJson)
{
    orv({"attr", "set", "d/b.txt", "--order", "4"});
    const std::string out = orv({"ls", "d", "--json"}).out;
    EXPECT_EQ(lines(out).size(), 5);
    EXPECT_NE(out.find("{\"url\": \"" + at("d/b.txt").description() +
                       "\", \"is_dir\": false, \"level\": 1, \"relative_path\": \"b.txt\", "
                       "\"size\": 1, \"name\": \"b.txt\", \"title\": \"b\", \"ext\": \"txt\", "
                       "\"creation_date\": "),
              std::string::npos)
        << out;
    EXPECT_NE(out.find("\"modification_date\": \"1970-01-01T00:50:00.000000000Z\", "
                       "\"is_package\": false, \"is_hidden\": false, \"custom_attributes\": "
                       "{\"url\": \"" +
                       at("d/b.txt").description() +
                       "\", \"is_protected\": false, \"order_no\": 4, \"is_custom_sorted\": false, "
                       "\"was_custom_sorted_at_least_once\": false}}"),
              std::string::npos)
        << out;
}

/// A watch under way, and the lines that it has written.
class WatchTest : public ListTest {
protected:
    void watch(Words arguments)
    {
        arguments.insert(arguments.begin(), {"ls", "d", "--watch"});
        process_ = start(arguments, output().path());
    }

    void wait_for_line(const std::string& line)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (std::ranges::count(lines(read_file(output())), line) == 0) {
            ASSERT_LT(std::chrono::steady_clock::now(), deadline) << read_file(output());
            std::this_thread::yield();
        }
    }

    [[nodiscard]] Url output() const { return home().appending("out"); }

    pid_t process_ = 0;
};

TEST_F(WatchTest, WritesTheListAndThenEveryChangeUntilTheFolderIsGone)
{
    write_file(output(), "");
    watch({"--sort", "date"});
    wait_for_line("sub");
    std::filesystem::rename(at("d/A.png"), at("d/B.png"));
    wait_for_line("renamed A.png -> B.png");
    std::filesystem::create_directory(at("d/new"));
    wait_for_line("added new");
    std::filesystem::remove_all(at("d"));
    EXPECT_EQ(finish(process_).exit_code, 0);
    const Words all = lines(read_file(output()));
    EXPECT_EQ(Words(all.begin(), all.begin() + 5),
              (Words{"c.txt", "A.png", "b.txt", "sub.x", "sub"}));
    EXPECT_EQ(all.back(), "gone");
}

TEST_F(WatchTest, WritesAnObjectALineUntilItIsInterrupted)
{
    write_file(output(), "");
    watch({"--json", "-a"});
    wait_for_line(R"({"change": "complete", "name": null, "from": null})");
    std::filesystem::rename(at("d/.hid"), at("d/\xff\""));
    wait_for_line(R"({"change": "renamed", "name": "\udcff\"", "from": ".hid"})");
    std::filesystem::remove(at("d/b.txt"));
    wait_for_line(R"({"change": "removed", "name": "b.txt", "from": null})");
    ::kill(process_, SIGINT);
    EXPECT_EQ(finish(process_).exit_code, 130);
    EXPECT_EQ(lines(read_file(output())).front(),
              R"({"change": "listed", "name": ".hid", "from": null})");
}

TEST_F(WatchTest, SaysWhyThereIsNothingToWatch)
{
    const Outcome outcome = orv({"ls", "d/b.txt", "--watch"});
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_EQ(outcome.err, told("orv: Given url must point to a folder: $W/d/b.txt\n"));
    EXPECT_EQ(orv({"ls", "d", "--watch", "-r"}).exit_code, 2);
}

TEST_F(ListTest, PrintsATreeAsItIsFound)
{
    Words names = list({"-r", "--unsorted"});
    std::ranges::sort(names);
    EXPECT_EQ(names, (Words{"A.png", "b.txt", "c.txt", "sub", "sub.x", "sub/deep"}));
    EXPECT_EQ(lines(orv({"ls", "d", "--unsorted", "--json"}).out).size(), 5);
    EXPECT_EQ(orv({"ls", "none", "--unsorted"}).err,
              told("orv: No item exists at given url: $W/none\n"));
}

struct NameCase {
    std::string name;
    std::string json;
    std::string shown; ///< on a terminal
};

const NameCase name_cases[] = {
    {"a\"b\\c", R"("a\"b\\c")", "a\"b\\c"},
    {"\x1b[31mred\x7f", R"("\u001b[31mred\u007f")", R"(\u001b[31mred\u007f)"},
    {"two\nlines", R"("two\u000alines")", R"(two\nlines)"},
    {"\xc2\x9b"
     "1m",
     R"("\u009b1m")", R"(\u009b1m)"},
    {"na\xc3\xafve \xf0\x9f\x90\x88", "\"na\xc3\xafve \xf0\x9f\x90\x88\"",
     "na\xc3\xafve \xf0\x9f\x90\x88"},
    {"bad\xff\xc3", R"("bad\udcff\udcc3")", R"(bad\xff\xc3)"},
    {"long\xc0\xaf", R"("long\udcc0\udcaf")", R"(long\xc0\xaf)"},
    {"half\xed\xb3\xbf", R"("half\udced\udcb3\udcbf")", R"(half\xed\xb3\xbf)"},
    {"big\xf5\x80\x80\x80", R"("big\udcf5\udc80\udc80\udc80")", R"(big\xf5\x80\x80\x80)"},
};

TEST_F(CommandTest, WritesAnyNameSafelyAndReversibly)
{
    for (const NameCase& row : name_cases) {
        std::filesystem::remove_all(work());
        make_tree(work(), {row.name + "=1"});
        EXPECT_EQ(orv({"ls", "."}).out, row.name + "\n");
        const std::string json = orv({"ls", ".", "--json"}).out;
        EXPECT_NE(json.find("\"name\": " + row.json + ", "), std::string::npos) << json;

        Pseudoterminal terminal(command({"ls", "."}), work());
        EXPECT_EQ(terminal.finish(), 0);
        EXPECT_EQ(terminal.shown(), row.shown + "\r\n");

        const Outcome refused = orv({"mkdir", row.name});
        EXPECT_EQ(refused.err, told("orv: An item already exists: $W/") + row.shown + "\n");
    }
}

} // namespace
} // namespace orv::test
