#include "Operations/frame/UrlLocker.hpp"
#include "support/Engine.hpp"
#include "support/Statuses.hpp"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <set>

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>

namespace orv::test {
namespace {

class CopyTest : public EngineTest {
protected:
    std::vector<CopyOperation::Status> statuses(const Url& from, const Url& to)
    {
        return statuses_of<CopyOperation>(
            [&](auto take) { return manager().copy(from, to, take); });
    }

    std::vector<std::string> copied(const Url& from, const Url& to)
    {
        return texts_of(statuses(from, to));
    }

    /// The error with which the copy ends.
    Error failure(const Url& from, const Url& to)
    {
        const auto all = statuses(from, to);
        const auto* failed = std::get_if<status::error>(&all.back());
        return failed ? failed->error : Error("no error, but " + text_of(all.back()));
    }
};

TEST_F(CopyTest, a_file_is_told_of_at_its_beginning_and_its_end)
{
    make_tree(folder(), {"a=12", "empty="});
    EXPECT_EQ(copied(at("a"), at("b")),
              (std::vector<std::string>{"preparing", "progress b 0.00", "progress b 1.00",
                                        "progress b 1.00", "success"}));
    EXPECT_EQ(copied(at("empty"), at("c")),
              (std::vector<std::string>{"preparing", "progress c 0.00", "progress c 0.00",
                                        "progress c 1.00", "success"}));
    EXPECT_EQ(tree(folder()), (std::vector<std::string>{"a=12", "b=12", "c=", "empty="}));
}

TEST_F(CopyTest, a_folder_comes_before_its_contents)
{
    make_tree(folder(), {"a/b/c=1234"});
    EXPECT_EQ(copied(at("a"), at("z")),
              (std::vector<std::string>{"preparing", "progress z/ 0.00", "progress z/ 0.00",
                                        "progress b/ 0.00", "progress b/ 0.00", "progress c 0.00",
                                        "progress c 1.00", "progress c 1.00", "success"}));
    EXPECT_EQ(tree(at("z")), (std::vector<std::string>{"b/", "b/c=1234"}));
}

/// 300 items in seven folders of "a", most of them files.
std::vector<std::string> many_items()
{
    std::vector<std::string> entries;
    for (int i = 0; i < 300; ++i)
        entries.push_back("a/" + std::to_string(i % 7) + "/" + std::to_string(100 + i) +
                          (i % 10 == 0 ? "->x" : "=" + std::string(std::size_t(i), 'x')));
    return entries;
}

TEST_F(CopyTest, progress_goes_up_to_the_end)
{
    make_tree(folder(), many_items());
    float last = 0;
    std::size_t count = 0;
    for (const auto& status : statuses(at("a"), at("b")))
        if (const auto* progress = std::get_if<status::progress<CopyProgress>>(&status)) {
            EXPECT_GE(progress->record.value, last);
            last = progress->record.value;
            ++count;
        }
    EXPECT_EQ(last, 1.0F);
    EXPECT_EQ(count, 2U * (1 + 7 + 300) + 1);
    EXPECT_EQ(tree(at("b")), tree(at("a")));
}

struct RefusedCase {
    std::string from;
    std::string to;
    std::string sentence;
};

TEST_F(CopyTest, refuses_locations_that_are_none)
{
    make_tree(folder(), {"a=1"});
    const RefusedCase rows[] = {
        {"", "", "Source url points to an undefined path."},
        {"/", "", "Source url points to root directory."},
        {at("a").path(), "", "Destination url points to an undefined path."},
        {at("a").path(), "/../", "Destination url points to root directory."},
        {at("missing").path(), "/", "Destination url points to root directory."},
        {at("missing").path(), at("a").path(), "Source item doesn't exist."},
        {at("a/b").path(), at("c").path(), "Source item doesn't exist."},
    };
    for (const RefusedCase& row : rows)
        EXPECT_EQ(copied(row.from, row.to), std::vector{"error: " + row.sentence});
    EXPECT_EQ(tree(folder()), std::vector<std::string>{"a=1"});
}

struct PlaceCase {
    std::string name;
    std::vector<std::string> before;
    std::string source;
    std::string destination;
    std::string final_status;
    std::vector<std::string> after;
};

const std::string conflict = "error: Source path conflicts with destination path.";

const PlaceCase place_cases[] = {
    {"into itself", {"a/b=1"}, "a", "a/c", conflict, {"a/", "a/b=1"}},
    {"deep into itself", {"a/b/c=1"}, "a", "a/b/d", conflict, {"a/", "a/b/", "a/b/c=1"}},
    {"into itself by way of a link",
     {"a/b=1", "l->a"},
     "a",
     "l/c",
     conflict,
     {"a/", "a/b=1", "l->a"}},
    {"a file into nothing", {"a=1"}, "a", "n/b", "error: Couldn't move the item", {"a=1"}},
    {"a folder into nothing",
     {"a/b=1"},
     "a",
     "n/b",
     "error: Couldn't create destination directory.",
     {"a/", "a/b=1"}},
    {"a file into a file",
     {"a=1", "b=2"},
     "a",
     "b/c",
     "error: Couldn't move the item",
     {"a=1", "b=2"}},
    {"a link stands for what it points to",
     {"a->b", "b/c=1"},
     "a",
     "d",
     "success",
     {"a->b", "b/", "b/c=1", "d/", "d/c=1"}},
    {"a dangling link", {"a->b"}, "a", "d", "error: Source item doesn't exist.", {"a->b"}},
    {"a loop of links", {"a->b", "b->a"}, "a", "d", "success", {"a->b", "b->a", "d->b"}},
    {"a destination through a dangling link",
     {"a=1", "l->b"},
     "a",
     "l",
     "success",
     {"a=1", "b=1", "l->b"}},
    {"links inside",
     {"a/d->gone", "a/f=1", "a/l->f", "a/o->../x", "a/u->."},
     "a",
     "b",
     "success",
     {"a/", "a/d->gone", "a/f=1", "a/l->f", "a/o->../x", "a/u->.", "b/", "b/d->gone", "b/f=1",
      "b/l->f", "b/o->../x", "b/u->."}},
};

TEST_F(CopyTest, ends_as_its_locations_allow)
{
    for (const PlaceCase& row : place_cases) {
        SCOPED_TRACE(row.name);
        const Url root = at(row.name);
        make_tree(root, row.before);
        EXPECT_EQ(copied(root.appending(row.source), root.appending(row.destination)).back(),
                  row.final_status);
        EXPECT_EQ(tree(root), row.after);
    }
}

TEST_F(CopyTest, names_are_bytes_and_may_be_as_long_as_the_system_allows)
{
    const std::string longest(255, 'n');
    make_tree(folder(), {"a/\xff\xfe=1", "a/ =2", "a/-rf=3", "a/new\nline=4", "a/\xc3\xa9/x=5",
                         "a/" + longest + "/" + longest + "=6"});
    EXPECT_EQ(copied(at("a"), at(std::string(255, 'm'))).back(), "success");
    EXPECT_EQ(tree(at(std::string(255, 'm'))), tree(at("a")));
    const Error error = failure(at("a"), at(std::string(256, 'm')));
    EXPECT_EQ(error.sentence(), "Couldn't create destination directory.");
    EXPECT_EQ(error.code(), ENAMETOOLONG);
}

TEST_F(CopyTest, a_failure_names_the_method_and_the_place)
{
    const Error missing = failure(at("a"), at("b"));
    EXPECT_TRUE(missing.message().starts_with("Source item doesn't exist. (src/Operations/CopyOpr, "
                                              "copy(src_url:dest_url:status_closure:), line "))
        << missing.message();
    EXPECT_EQ(missing.path(), at("a"));

    make_tree(folder(), {"a/b=1", "c=2"});
    for (const char* source : {"a", "a/b"})
        EXPECT_EQ(failure(at(source), at("gone/d")).path(), at("gone"));
    const Error unplaced = failure(at("a/b"), at("c/d"));
    EXPECT_EQ(unplaced.code(), ENOTDIR);
    EXPECT_NE(unplaced.message().find(": Not a directory."), std::string::npos)
        << unplaced.message();
}

TEST_F(CopyTest, hidden_items_that_are_marked_are_left_out_with_all_that_is_in_them)
{
    make_tree(folder(),
              {"a/.b.orvresume=12345678", "a/.c.jgd/d=12345678", "a/.e/f=12345678", "a/.g=1",
               "a/.orvresume=2", "a/h.orvresume=3", "a/i.jgd/j=4", "a/k=5", "a/.l.ORVRESUME=6"});
    const auto mark = [&](const char* name, const std::string& value) {
        const int error =
            ::setxattr(at(name).path().c_str(), "user.orv_ignore", value.data(), value.size(), 0);
        return error == 0;
    };
    if (!mark("a/.e", "true"))
        GTEST_SKIP() << "the file system has no extended attributes";
    mark("a/.g", "truer");
    mark("a/k", "true");
    EXPECT_EQ(copied(at("a"), at("b")).back(), "success");
    EXPECT_EQ(tree(at("b")),
              (std::vector<std::string>{".g=1", ".l.ORVRESUME=6", ".orvresume=2", "h.orvresume=3",
                                        "i.jgd/", "i.jgd/j=4", "k=5"}));
}

TEST_F(CopyTest, what_is_left_out_counts_as_done)
{
    make_tree(folder(), {"a/.b.jgd/c=12345", "a/k=12345"});
    const auto said = copied(at("a"), at("b"));
    const bool k_came_first = said[3] == "progress k 0.00";
    EXPECT_EQ(said[3], k_came_first ? "progress k 0.00" : "progress k 0.50");
    EXPECT_EQ(said[4], k_came_first ? "progress k 0.50" : "progress k 1.00");
    EXPECT_EQ(tree(at("b")), std::vector<std::string>{"k=12345"});
}

TEST_F(CopyTest, devices_end_it)
{
    make_tree(folder(), {"a/"});
    if (::mknod(at("a/device").path().c_str(), S_IFCHR | 0600, ::makedev(1, 3)) != 0)
        GTEST_SKIP() << "this user may make no devices";
    const Error error = failure(at("a"), at("b"));
    EXPECT_EQ(error.sentence(), "Device files can't be copied.");
    EXPECT_EQ(error.path(), at("a/device"));
    EXPECT_EQ(tree(at("b")), std::vector<std::string>{});
    EXPECT_EQ(failure("/dev/null", at("c")).path(), Url("/dev/null"));
}

TEST_F(CopyTest, a_failure_leaves_what_was_told_of_before_it_and_nothing_else)
{
    make_tree(folder(), many_items());
    if (::mknod(at("a/3/device").path().c_str(), S_IFCHR | 0600, ::makedev(1, 3)) != 0)
        GTEST_SKIP() << "this user may make no devices";
    std::set<std::string> told;
    for (const auto& status : statuses(at("a"), at("b")))
        if (const auto* progress = std::get_if<status::progress<CopyProgress>>(&status))
            told.insert(progress->record.item_name);
    std::set<std::string> there{"b", "device"};
    for (const auto& entry : std::filesystem::recursive_directory_iterator(at("b").path()))
        there.insert(entry.path().filename());
    EXPECT_EQ(there, told);
}

struct ChangeCase {
    std::string name;
    void (*change)(const Url& source); ///< made when the file is announced, before it is opened
    std::string final_status;
    std::vector<std::string> after;
};

const ChangeCase change_cases[] = {
    {"vanishes",
     [](const Url& source) { std::filesystem::remove(source); },
     "error: Source item doesn't exist.",
     {}},
    {"becomes a FIFO",
     [](const Url& source) {
         std::filesystem::remove(source);
         ::mkfifo(source.path().c_str(), 0600);
     },
     "error: Source item was replaced while it was being copied.",
     {"a|"}},
    {"becomes a link",
     [](const Url& source) {
         std::filesystem::remove(source);
         std::filesystem::create_symlink("/etc/passwd", source);
     },
     "error: Too many levels of symbolic links.",
     {"a->/etc/passwd"}},
    {"becomes a folder",
     [](const Url& source) {
         std::filesystem::remove(source);
         std::filesystem::create_directory(source);
     },
     "error: Source item was replaced while it was being copied.",
     {"a/"}},
    {"shrinks",
     [](const Url& source) { std::filesystem::resize_file(source, 1); },
     "success",
     {"a=1", "b=1"}},
    {"grows",
     [](const Url& source) { write_file(source, "123456"); },
     "success",
     {"a=123456", "b=123456"}},
};

TEST_F(CopyTest, a_file_that_changes_after_it_was_announced_yields_what_is_there_or_an_error)
{
    for (const ChangeCase& row : change_cases) {
        SCOPED_TRACE(row.name);
        const Url root = at(row.name);
        make_tree(root, {"a=123"});
        std::string last;
        const auto operation = manager().copy(root.appending("a"), root.appending("b"),
                                              [&](const CopyOperation::Status& status) {
                                                  last = text_of(status);
                                                  if (last == "progress b 0.00")
                                                      row.change(root.appending("a"));
                                              });
        pump_until([&] { return !operation->is_busy(); });
        EXPECT_EQ(last, row.final_status);
        EXPECT_EQ(tree(root), row.after);
    }
}

struct IntruderCase {
    std::string name;
    std::vector<std::string> before;
    std::string moment; ///< the status in whose callback the item appears
    std::string item;
    std::vector<std::string> after;
};

const IntruderCase intruder_cases[] = {
    {"a file", {"a=1"}, "preparing", "z", {"a=1", "z=other"}},
    {"a file for a folder", {"a/b=1"}, "preparing", "z", {"a/", "a/b=1", "z=other"}},
    {"a file inside", {"a/b=1"}, "progress b 0.00", "z/b", {"a/", "a/b=1", "z/", "z/b=other"}},
    {"a file for a link",
     {"a/b->c"},
     "progress b 0.00",
     "z/b",
     {"a/", "a/b->c", "z/", "z/b=other"}},
    {"a folder",
     {"a/b/c=1"},
     "progress b/ 0.00",
     "z/b/x",
     {"a/", "a/b/", "a/b/c=1", "z/", "z/b/", "z/b/x=other"}},
};

TEST_F(CopyTest, what_appears_at_the_destination_meanwhile_is_not_harmed)
{
    for (const IntruderCase& row : intruder_cases) {
        SCOPED_TRACE(row.name);
        const Url root = at(row.name);
        make_tree(root, row.before);
        std::string last;
        const auto operation = manager().copy(root.appending("a"), root.appending("z"),
                                              [&](const CopyOperation::Status& status) {
                                                  last = text_of(status);
                                                  if (last == row.moment)
                                                      write_file(root.appending(row.item), "other");
                                              });
        pump_until([&] { return !operation->is_busy(); });
        EXPECT_EQ(last, "error: Destination item already exists.");
        EXPECT_EQ(tree(root), row.after);
    }
}

TEST_F(CopyTest, its_locations_are_held_while_it_works_and_at_no_other_time)
{
    make_tree(folder(), {"a/b/c=1", "z/d=2"});
    std::vector<std::string> locked;
    const auto operation = manager().copy(at("a"), at("z"), [&](const auto& status) {
        answer(status, ConflictBehaviour::merge);
        const std::string locks = std::string(UrlLocker::is_read_locked(at("a/b")) ? "r" : "") +
                                  (UrlLocker::is_write_locked(at("z")) ? "w" : "");
        const std::string text = text_of(status);
        locked.push_back(text.substr(0, text.find(' ')) + " " + locks);
        if (!locks.empty()) {
            EXPECT_FALSE(manager().sync_delete_item(at("a"))) << text;
        }
    });
    pump_until([&] { return !operation->is_busy(); });
    locked.erase(std::unique(locked.begin(), locked.end()), locked.end());
    EXPECT_EQ(locked,
              (std::vector<std::string>{"conflict ", "preparing rw", "progress rw", "success "}));
}

TEST_F(CopyTest, several_copies_read_one_folder_at_a_time)
{
    make_tree(folder(), {"a/b=1", "a/c/d=2"});
    int succeeded = 0;
    std::vector<std::shared_ptr<CopyOperation>> copies;
    for (const char* name : {"x", "y", "z"})
        copies.push_back(manager().copy(at("a"), at(name), [&](const auto& status) {
            succeeded += std::holds_alternative<status::success>(status) ? 1 : 0;
        }));
    pump_until([&] {
        return std::none_of(copies.begin(), copies.end(),
                            [](const auto& copy) { return copy->is_busy(); });
    });
    EXPECT_EQ(succeeded, 3);
    for (const char* name : {"x", "y", "z"})
        EXPECT_EQ(tree(at(name)), tree(at("a")));
}

} // namespace
} // namespace orv::test
