#include "Operations/frame/UrlLocker.hpp"
#include "support/Engine.hpp"
#include "support/Statuses.hpp"

#include <cerrno>
#include <filesystem>
#include <memory>

namespace orv::test {
namespace {

class SingleCopyTest : public EngineTest {
protected:
    SingleCopyTest() { OrvFileManager::set_test_mode(true); }

    std::vector<std::string> copied(const Url& from, const Url& to, bool overwrite)
    {
        return texts_of(statuses_of<SnglCopyOperation>(
            [&](auto take) { return manager().single_copy(from, to, overwrite, take); }));
    }
};

const std::string same = "error: Source and destination items cannot be the same.";
const std::string taken = "error: Destination item already exists.";
const std::string not_moved = "error: Couldn't move the item";

struct SingleCopyCase {
    std::string name;
    std::vector<std::string> before;
    std::string source;
    std::string destination;
    bool overwrite;
    std::vector<std::string> statuses;
    std::vector<std::string> after;
};

// Files are empty where their content does not matter: each chunk costs half a second.
const SingleCopyCase single_copy_cases[] = {
    {"file",
     {"a=1"},
     "a",
     "b",
     false,
     {"progress b 0.00", "progress b 1.00", "success"},
     {"a=1", "b=1"}},
    {"empty file",
     {"a="},
     "a",
     "b",
     false,
     {"progress b 0.00", "progress b 1.00", "success"},
     {"a=", "b="}},
    {"folder without its contents",
     {"a/x=1"},
     "a",
     "b",
     true,
     {"progress b/ 0.00", "progress b/ 1.00", "success"},
     {"a/", "a/x=1", "b/"}},
    {"link",
     {"a->gone"},
     "a",
     "b",
     false,
     {"progress b 0.00", "progress b 1.00", "success"},
     {"a->gone", "b->gone"}},
    {"nothing", {}, "a", "b", true, {"error: Source item doesn't exist."}, {}},
    {"taken by a file", {"a=", "b=2"}, "a", "b", false, {taken}, {"a=", "b=2"}},
    {"taken by a folder", {"a=", "b/x=2"}, "a", "b", false, {taken}, {"a=", "b/", "b/x=2"}},
    {"taken by a dangling link", {"a=", "b->gone"}, "a", "b", false, {taken}, {"a=", "b->gone"}},
    {"over a file",
     {"a=", "b=2"},
     "a",
     "b",
     true,
     {"progress b 0.00", "progress b 1.00", "success"},
     {"a=", "b="}},
    {"over a folder",
     {"a=", "b/x=2"},
     "a",
     "b",
     true,
     {"progress b 0.00", "progress b 1.00", "success"},
     {"a=", "b="}},
    {"a folder over a file",
     {"a/x=1", "b=2"},
     "a",
     "b",
     true,
     {"progress b/ 0.00", "progress b/ 1.00", "success"},
     {"a/", "a/x=1", "b/"}},
    {"over a link",
     {"a=", "b->c", "c/x=2"},
     "a",
     "b",
     true,
     {"progress b 0.00", "progress b 1.00", "success"},
     {"a=", "b=", "c/", "c/x=2"}},
    {"onto itself", {"a="}, "a", "a", true, {same}, {"a="}},
    {"onto itself, spelled differently",
     {"a=", "x/"},
     "a",
     "x/../a",
     true,
     {"error: Source path conflicts with destination path."},
     {"a=", "x/"}},
    {"onto itself by way of a link",
     {"a/x=", "b->a"},
     "a/x",
     "b/x",
     true,
     {same},
     {"a/", "a/x=", "b->a"}},
    {"into itself",
     {"a/x="},
     "a",
     "a/b",
     true,
     {"error: Source path conflicts with destination path."},
     {"a/", "a/x="}},
    {"over the folder it is in",
     {"a/x="},
     "a/x",
     "a",
     true,
     {"error: Source path conflicts with destination path."},
     {"a/", "a/x="}},
    {"file into nothing", {"a="}, "a", "n/b", false, {"progress b 0.00", not_moved}, {"a="}},
    {"folder into nothing",
     {"a/"},
     "a",
     "n/b",
     false,
     {"progress b/ 0.00", "error: Couldn't create destination directory."},
     {"a/"}},
    {"file into a file",
     {"a=", "b="},
     "a",
     "b/c",
     false,
     {"progress c 0.00", not_moved},
     {"a=", "b="}},
};

TEST_F(SingleCopyTest, ends_as_its_locations_allow)
{
    struct Run {
        std::shared_ptr<SnglCopyOperation> operation;
        std::vector<std::string> said;
    };
    std::vector<Run> runs(std::size(single_copy_cases));
    for (std::size_t i = 0; i < runs.size(); ++i) {
        const SingleCopyCase& row = single_copy_cases[i];
        const Url root = at(row.name);
        make_tree(root, row.before);
        runs[i].operation = manager().single_copy(
            root.appending(row.source), root.appending(row.destination), row.overwrite,
            [&said = runs[i].said](const auto& status) { said.push_back(text_of(status)); });
    }
    for (std::size_t i = 0; i < runs.size(); ++i) {
        const SingleCopyCase& row = single_copy_cases[i];
        SCOPED_TRACE(row.name);
        pump_until([&] { return !runs[i].operation->is_busy(); });
        EXPECT_EQ(runs[i].said, row.statuses);
        EXPECT_EQ(tree(at(row.name)), row.after);
    }
}

TEST_F(SingleCopyTest, refuses_locations_that_are_none)
{
    const struct {
        const char* from;
        const char* to;
        std::string sentence;
    } rows[] = {
        {"", "", "Source url points to an undefined path."},
        {"/a/..", "", "Source url points to root directory."},
        {"/a", "", "Destination url points to an undefined path."},
        {"/a", "//", "Destination url points to root directory."},
    };
    for (const auto& row : rows)
        EXPECT_EQ(copied(row.from, row.to, true), std::vector{"error: " + row.sentence});
}

TEST_F(SingleCopyTest, two_names_of_one_file_are_one_item)
{
    make_tree(folder(), {"a=1"});
    std::filesystem::create_hard_link(at("a"), at("b"));
    EXPECT_EQ(copied(at("a"), at("b"), true), std::vector{same});
    EXPECT_EQ(copied(at("a"), at("b"), false), std::vector{taken});
    EXPECT_EQ(tree(folder()), (std::vector<std::string>{"a=1", "b=1"}));
}

TEST_F(SingleCopyTest, others_locks_are_tested_and_none_is_held)
{
    make_tree(folder(), {"a=1"});
    {
        const UrlLock writing(write(at("a")));
        EXPECT_EQ(
            copied(at("a"), at("b"), true),
            std::vector<std::string>{"error: Source item is being written by another operation."});
    }
    std::vector<std::string> said;
    const auto operation = manager().single_copy(
        at("a"), at("b"), true, [&](const auto& status) { said.push_back(text_of(status)); });
    pump_until([&] { return !said.empty(); });
    expect_no_locks();
    operation->cancel();
    pump_until([&] { return !operation->is_busy(); });
    EXPECT_EQ(said, (std::vector<std::string>{"progress b 0.00", "cancelled"}));
    EXPECT_EQ(tree(folder()), std::vector<std::string>{"a=1"});
}

} // namespace
} // namespace orv::test
