#include "Operations/frame/UrlLocker.hpp"
#include "support/Engine.hpp"
#include "support/Records.hpp"
#include "support/Statuses.hpp"
#include "support/Volume.hpp"

#include <chrono>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>

namespace orv::test {
namespace {

using Texts = std::vector<std::string>;

class RenameTest : public EngineTest {
protected:
    RenameOperation::Status renamed(const Url& url, const std::string& new_name)
    {
        return statuses_of<RenameOperation>(
                   [&](auto take) { return manager().rename(url, new_name, take); })
            .at(0);
    }

    static Error error_of(const RenameOperation::Status& status)
    {
        return std::get<status::error>(status).error;
    }
};

struct RenameCase {
    std::string name;
    Texts before;
    std::string at;
    std::string new_name;
    std::string status;
    Texts after;
};

const std::string taken = "error: Couldn't rename item, because the provided name is taken.";
const std::string no_name = "error: New name cannot be \".\" or \"..\".";
const std::string no_slash = "error: New name cannot contain a slash.";
const std::string not_moved = "error: Couldn't move the item";

const RenameCase rename_cases[] = {
    {"a file", {"a=1"}, "a", "b", "success", {"b=1"}},
    {"a folder", {"a/x=1"}, "a", "b", "success", {"b/", "b/x=1"}},
    {"a link", {"a->x", "x=1"}, "a", "b", "success", {"b->x", "x=1"}},
    {"a dangling link", {"a->x"}, "a", "b", "success", {"b->x"}},
    {"a space", {"a=1"}, "a", " ", "success", {" =1"}},
    {"a name that begins alike", {"a=1"}, "a", "a b", "success", {"a b=1"}},
    {"its own name", {"a=1"}, "a", "a", taken, {"a=1"}},
    {"the folder it is in", {"a=1"}, "a", ".", no_name, {"a=1"}},
    {"the folder above", {"a=1"}, "a", "..", no_name, {"a=1"}},
    {"a taken name", {"a=1", "b/"}, "a", "b", taken, {"a=1", "b/"}},
    {"a dangling link's name", {"a=1", "b->x"}, "a", "b", taken, {"a=1", "b->x"}},
    {"an empty name", {"a=1"}, "a", "", "error: New name cannot be an empty string.", {"a=1"}},
    {"nothing", {"b=1"}, "a", "c", "error: No item exists at given url.", {"b=1"}},
    {"a name in another folder", {"a=1", "f/"}, "a", "f/b", no_slash, {"a=1", "f/"}},
    {"a name inside itself", {"a/x=1"}, "a", "a/b", no_slash, {"a/", "a/x=1"}},
    {"an item below a linked folder",
     {"f/a=1", "l->f"},
     "l/a",
     "b",
     "success",
     {"f/", "f/b=1", "l->f"}},
    {"a name that is too long", {"a=1"}, "a", std::string(256, 'n'), not_moved, {"a=1"}},
};

TEST_F(RenameTest, gives_a_free_name_and_nothing_else)
{
    for (const RenameCase& row : rename_cases) {
        SCOPED_TRACE(row.name);
        const Url root = at(row.name);
        make_tree(root, row.before);
        EXPECT_EQ(text_of(renamed(root.appending(row.at), row.new_name)), row.status);
        EXPECT_EQ(tree(root), row.after);
        expect_no_locks();
    }
}

TEST_F(RenameTest, errors_name_their_documented_lines)
{
    make_tree(folder(), {"a=1", "b=2"});
    const struct {
        Url url;
        const char* new_name;
        int line;
    } rows[] = {{"", "b", 44},      {"/", "b", 47},     {at("a"), "", 52},
                {at("c"), "d", 68}, {"/proc", "d", 77}, {at("a"), "b", 82}};
    for (const auto& row : rows)
        EXPECT_TRUE(error_of(renamed(row.url, row.new_name))
                        .message()
                        .ends_with("(src/Operations/RenameOpr, "
                                   "rename(url:new_name:status_closure:), line " +
                                   std::to_string(row.line) + ")"))
            << error_of(renamed(row.url, row.new_name)).message();
    const Error refused = error_of(renamed(at("a"), std::string(256, 'n')));
    EXPECT_EQ(refused.code(), ENAMETOOLONG);
    EXPECT_EQ(refused.path(), at("a"));
}

TEST_F(RenameTest, rows_follow_the_item_and_all_below_it)
{
    make_tree(folder(), {"a/b/c=1", "a b=2", "ab=3"});
    store_rows(folder(), {"a", "a/b/c", "a b", "ab", "z/stale"});
    EXPECT_EQ(text_of(renamed(at("a"), "z")), "success");
    EXPECT_EQ(stored_rows(folder()), (Texts{"a b", "ab", "z", "z/b/c"}));
    EXPECT_EQ(text_of(renamed(at("z"), "ab")), taken);
    EXPECT_EQ(stored_rows(folder()), (Texts{"a b", "ab", "z", "z/b/c"}));
}

TEST_F(RenameTest, the_item_itself_is_dated_now)
{
    make_tree(folder(), {"file=1", "folder/x=2", "link->target", "target=3"});
    const timespec old[2] = {{1'000, 0}, {1'000, 0}};
    for (const char* name : {"file", "folder", "link", "target"})
        ASSERT_EQ(::utimensat(AT_FDCWD, at(name).path().c_str(), old, AT_SYMLINK_NOFOLLOW), 0);
    const auto seconds_of = [&](const std::string& name) {
        struct stat status {};
        ::lstat(at(name).path().c_str(), &status);
        return status.st_mtim.tv_sec;
    };
    const time_t before = ::time(nullptr);
    for (const std::string name : {"file", "folder", "link"}) {
        EXPECT_EQ(text_of(renamed(at(name), name + " 2")), "success");
        EXPECT_GE(seconds_of(name + " 2"), before - 1) << name;
    }
    EXPECT_EQ(seconds_of("target"), 1'000);
}

TEST_F(RenameTest, both_names_are_held_meanwhile)
{
    OrvFileManager::set_test_mode(true);
    make_tree(folder(), {"a=1"});
    const auto started = std::chrono::steady_clock::now();
    const auto operation = manager().rename(at("a"), "b", {});
    operation->cancel();
    pump_until([&] { return UrlLocker::is_write_locked(at("b")); });
    EXPECT_TRUE(UrlLocker::is_read_locked(at("a")));
    EXPECT_FALSE(UrlLocker::is_write_locked(at("a")));
    pump_until([&] { return !operation->is_busy(); });
    EXPECT_GE(std::chrono::steady_clock::now() - started, std::chrono::seconds(1));
    EXPECT_EQ(tree(folder()), Texts{"b=1"});
}

} // namespace
} // namespace orv::test
