#include "Tool/Tool.hpp"

#include "support/Scratch.hpp"
#include "support/Surroundings.hpp"
#include "support/Tree.hpp"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <filesystem>
#include <stdexcept>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

using Names = std::vector<std::string>;

struct WalkCase {
    const char* root;
    bool inclusive;
    bool recursive;
    std::optional<int> depth;
    bool hidden;
    Names items; ///< level and relative path
};

const WalkCase walk_cases[] = {
    {".", false, false, {}, false, {"1 a", "1 f", "1 link"}},
    {".", false, false, {}, true, {"1 .h", "1 a", "1 f", "1 link"}},
    {".", true, false, {}, false, {"0 ", "1 a", "1 f", "1 link"}},
    {".", false, true, 1, false, {"1 a", "1 f", "1 link"}},
    {".", false, true, 2, false, {"1 a", "1 f", "1 link", "2 a/b"}},
    {".", false, true, 0, false, {"1 a", "1 f", "1 link", "2 a/b", "3 a/b/c"}},
    {".",
     false,
     true,
     {},
     true,
     {"1 .h", "1 a", "1 f", "1 link", "2 .h/x", "2 a/b", "3 a/b/.g", "3 a/b/c"}},
    {".h", true, true, {}, false, {"0 ", "1 x"}},
    {"f", true, true, {}, true, {"0 "}},
    {"f", false, true, {}, true, {}},
    {"link", true, true, {}, true, {"0 ", "1 b", "2 b/.g", "2 b/c"}},
    {"dangling", true, true, {}, true, {"0 "}},
};

TEST(ToolWalk, TakesInWhatIsAskedFor)
{
    const Scratch scratch;
    make_tree(scratch.url(), {"root/a/b/c=1", "root/a/b/.g=1", "root/.h/x=1", "root/f=1",
                              "root/link->a", "dangling->nowhere"});
    for (const WalkCase& row : walk_cases) {
        const Url root = std::string(row.root) == "dangling"
                             ? scratch / "dangling"
                             : scratch.url().appending("root").appending(row.root).standardized();
        Names items;
        Tool::iterate_contents(
            root, row.inclusive, row.recursive, row.depth, row.hidden, [&](const FileItem& item) {
                items.push_back(std::to_string(item.level) + " " + item.relative_path);
                return true;
            });
        EXPECT_TRUE(!row.inclusive || items.front() == "0 ") << row.root;
        std::sort(items.begin(), items.end());
        EXPECT_EQ(items, row.items) << row.root;
    }
}

TEST(ToolWalk, DescribesItemsAsTheyAreDescribedAlone)
{
    const Scratch scratch;
    make_tree(scratch.url(), {"folder/file.tar.gz=123", "folder/.hidden=", "folder/link->file",
                              "folder/thing.app/", "folder/\xff.x=1"});
    int seen = 0;
    tool.iterate_contents(scratch.url(), false, true, {}, true, [&](const FileItem& item) {
        const FileItem alone(item.url, scratch.url());
        EXPECT_EQ(item.url, scratch / item.relative_path);
        EXPECT_EQ(item.relative_path, alone.relative_path);
        EXPECT_EQ(std::tie(item.name, item.title, item.ext, item.is_dir, item.is_package),
                  std::tie(alone.name, alone.title, alone.ext, alone.is_dir, alone.is_package));
        EXPECT_EQ(
            std::tie(item.size, item.creation_date, item.modification_date, item.is_hidden),
            std::tie(alone.size, alone.creation_date, alone.modification_date, alone.is_hidden));
        EXPECT_EQ(item.custom_attributes, alone.custom_attributes);
        ++seen;
        return true;
    });
    EXPECT_EQ(seen, 6);
}

TEST(ToolWalk, StopsWhenTheVisitorSaysSo)
{
    const Scratch scratch;
    make_tree(scratch.url(), {"a=1", "b=1", "c/d=1"});
    for (const int answers : {1, 2, 4}) {
        int visits = 0;
        Tool::iterate_contents(scratch.url(), true, true, {}, true,
                               [&](const FileItem&) { return ++visits < answers; });
        EXPECT_EQ(visits, answers);
    }
    EXPECT_THROW(Tool::iterate_contents(
                     scratch.url(), false, true, {}, true,
                     [](const FileItem&) -> bool { throw std::out_of_range("the visitor's own"); }),
                 std::out_of_range);
}

TEST(ToolWalk, TellsWhyItCannotBegin)
{
    const Scratch scratch;
    make_tree(scratch.url(), {"closed/a=1"});
    std::filesystem::permissions(scratch / "closed", std::filesystem::perms::none);
    const Unprivileged user(scratch.url());
    const auto walk_of = [&](const char* name) {
        return error_of([&] {
            Tool::iterate_contents(scratch / name, std::string(name) == "missing", true, {}, true,
                                   [](const FileItem&) -> bool {
                                       ADD_FAILURE() << "nothing is to be visited";
                                       return false;
                                   });
        });
    };
    const std::string place = " (src/Tool/Tool, iterate_contents(of:inclusive:recursive:"
                              "recursion_depth:include_hidden_files:consume:), line ";
    const auto missing = walk_of("missing");
    ASSERT_TRUE(missing);
    EXPECT_EQ(missing->message(), "Given url doesn't point to an existing item." + place + "78)");
    const auto closed = walk_of("closed");
    ASSERT_TRUE(closed);
    EXPECT_EQ(closed->message(), "Couldn't create directory enumerator." + place + "118)");
    EXPECT_EQ(closed->code(), EACCES);
    EXPECT_EQ(closed->path(), scratch / "closed");
}

TEST(Tool, CreatesFiles)
{
    struct Row {
        const char* name;
        bool overwrite;
        bool created;
    };
    const Row rows[] = {
        {"new", false, true},       {"new 2", true, true},     {"file", false, false},
        {"file 2", true, true},     {"folder", true, false},   {"link", true, false},
        {"dangling", false, false}, {"dangling", true, false}, {"missing/new", true, false},
        {"fifo", true, false},      {"", true, false},
    };
    const Scratch scratch;
    make_tree(scratch.url(), {"file=1", "file 2=2", "folder/", "link->file", "dangling->nowhere"});
    make_fifo(scratch / "fifo");
    for (const Row& row : rows)
        EXPECT_EQ(Tool::create_file(scratch / row.name, row.overwrite), row.created) << row.name;
    EXPECT_EQ(tree(scratch.url()), Names({"dangling->nowhere", "fifo|", "file 2=", "file=1",
                                          "folder/", "link->file", "new 2=", "new="}));
}

TEST(Tool, CreatesFolders)
{
    struct Row {
        const char* name;
        bool intermediates;
        int error;
        const char* at;
    };
    const Row rows[] = {
        {"new", false, 0, ""},
        {"new", false, EEXIST, "new"},
        {"new", true, 0, ""},
        {"a/b", false, ENOENT, "a"},
        {"a/b/c", true, 0, ""},
        {"link", true, 0, ""},
        {"link/d", true, 0, ""},
        {"file", true, EEXIST, "file"},
        {"file/e", true, ENOTDIR, "file"},
        {"dangling/f/g", true, EEXIST, "dangling"},
    };
    const Scratch scratch;
    make_tree(scratch.url(), {"file=1", "link->new", "dangling->nowhere"});
    for (const Row& row : rows) {
        const Url url = scratch / row.name;
        const auto error = error_of([&] { Tool::make_directory(url, row.intermediates); });
        EXPECT_EQ(error ? error->code() : 0, row.error) << row.name;
        EXPECT_TRUE(!error || error->path() == scratch / row.at) << row.name;
    }
    EXPECT_FALSE(Tool::create_directory(scratch / "new", false));
    EXPECT_TRUE(Tool::create_directory(scratch / "new", true));
    EXPECT_FALSE(Tool::create_directory(Url(), true));
    EXPECT_FALSE(Tool::create_directory("/proc/nothing/can/be/here", true));
    EXPECT_EQ(tree(scratch.url()), Names({"a/", "a/b/", "a/b/c/", "dangling->nowhere", "file=1",
                                          "link->new", "new/", "new/d/"}));
}

TEST(Tool, TellsWhatIsThere)
{
    struct Row {
        const char* name;
        bool exists;
        bool is_directory;
        std::optional<std::int64_t> size;
    };
    const Row rows[] = {
        {"file", true, false, 3},      {"empty", true, false, 0},    {"to folder", true, true, 6},
        {"to file", true, false, 4},   {"dangling", true, false, 7}, {"loop", true, false, 4},
        {"missing", false, false, {}}, {"file/x", false, false, {}}, {"closed/x", false, false, {}},
    };
    const Scratch scratch;
    make_tree(scratch.url(), {"file=123", "empty=", "folder/", "closed/x=1", "to folder->folder",
                              "to file->file", "dangling->nowhere", "loop->loop"});
    std::filesystem::permissions(scratch / "closed", std::filesystem::perms::none);
    const Unprivileged user(scratch.url());
    for (const Row& row : rows) {
        EXPECT_EQ(Tool::item_exists(scratch / row.name), row.exists) << row.name;
        EXPECT_EQ(Tool::is_directory(scratch / row.name), row.is_directory) << row.name;
        EXPECT_EQ(Tool::file_size(scratch / row.name), row.size) << row.name;
    }
    EXPECT_TRUE(Tool::is_directory(scratch / "folder"));
    EXPECT_FALSE(Tool::item_exists(Url()));
}

TEST(Tool, MovesWithoutEverReplacing)
{
    const Scratch scratch;
    make_tree(scratch.url(), {"a=1", "b=2", "folder/x=3"});
    Tool::move_item(scratch / "a", scratch / "folder/a");
    const auto error = error_of([&] { Tool::move_item(scratch / "b", scratch / "folder/a"); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->message(),
              "Couldn't move the item (src/Tool/Tool, move_item(from:to:), line 234): " +
                  platform_error(EEXIST, scratch / "folder/a").message());
    EXPECT_EQ(error->code(), EEXIST);
    EXPECT_EQ(error_of([&] { Tool::move_item(scratch / "none", scratch / "c"); })->path(),
              scratch / "none");
    EXPECT_EQ(tree(scratch.url()), Names({"b=2", "folder/", "folder/a=1", "folder/x=3"}));
}

TEST(Tool, DeletesAndSaysWhetherItDid)
{
    const Scratch scratch;
    make_tree(scratch.url(), {"folder/a/b=1", "kept=1"});
    EXPECT_TRUE(Tool::delete_item(scratch / "folder"));
    EXPECT_FALSE(Tool::delete_item(scratch / "folder"));
    EXPECT_FALSE(Tool::delete_item(scratch / "missing/x"));
    EXPECT_FALSE(Tool::delete_item(Url()));
    EXPECT_EQ(tree(scratch.url()), Names({"kept=1"}));
}

TEST(Tool, ReachesItemsBeyondTheLongestPath)
{
    const Scratch scratch;
    Url deep = scratch.url();
    for (int level = 0; level < 30; ++level)
        deep = deep.appending(std::string(255, 'n'));
    ASSERT_GT(deep.path().size(), 1U * PATH_MAX);

    Tool::make_directory(deep, true);
    EXPECT_TRUE(Tool::is_directory(deep));
    EXPECT_TRUE(Tool::create_file(deep.appending("a"), false));
    Tool::move_item(deep.appending("a"), deep.appending("b"));
    EXPECT_EQ(Tool::file_size(deep.appending("b")), 0);
    Names items;
    Tool::iterate_contents(deep, false, true, {}, true, [&](const FileItem& item) {
        items.push_back(item.url.path());
        return true;
    });
    EXPECT_EQ(items, Names({deep.appending("b").path()}));
    EXPECT_TRUE(Tool::delete_item(deep));
    EXPECT_FALSE(Tool::item_exists(deep));
}

} // namespace
} // namespace orv::test
