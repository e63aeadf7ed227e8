#include "files/FolderWatch.hpp"
#include "folder/WatchedList.hpp"
#include "support/Surroundings.hpp"
#include "support/Volume.hpp"

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <semaphore>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/mount.h>
#include <sys/stat.h>

namespace orv::test {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;
using std::chrono::milliseconds;

void move(const Url& from, const Url& to)
{
    ASSERT_EQ(::rename(from.path().c_str(), to.path().c_str()), 0);
}

/// Looks again soon, so that tests need not wait.
constexpr FolderWatch::Bounds quick{.look_interval = milliseconds(20)};

class OrvFolderTest : public EngineTest {
protected:
    OrvFolderTest() { FolderWatch::set_bounds(quick); }

    [[nodiscard]] Url in(const char* name) const { return at("f").appending(name); }
};

struct ChangeRow {
    const char* name;
    std::function<void(const Url& folder)> change;
    Lines told;
};

const ChangeRow change_rows[] = {
    {"a folder", [](const Url& f) { fs::create_directory(f.appending("n")); }, {"added n"}},
    {"a link", [](const Url& f) { fs::create_symlink("x", f.appending("n")); }, {"added n"}},
    {"hidden", [](const Url& f) { fs::create_directory(f.appending(".n")); }, {}},
    {"removed", [](const Url& f) { fs::remove(f.appending("a")); }, {"removed a"}},
    {"renamed", [](const Url& f) { move(f.appending("a"), f.appending("z")); }, {"renamed a z"}},
    {"hidden by its name",
     [](const Url& f) { move(f.appending("a"), f.appending(".a")); },
     {"removed a"}},
    {"shown by its name",
     [](const Url& f) { move(f.appending(".h"), f.appending("h")); },
     {"added h"}},
    {"moved out", [](const Url& f) { move(f.appending("a"), f.path() + "/../a"); }, {"removed a"}},
    {"moved in", [](const Url& f) { move(f.path() + "/../o", f.appending("o")); }, {"added o"}},
    {"replaced from outside",
     [](const Url& f) { move(f.path() + "/../o", f.appending("a")); },
     {"changed a"}},
    {"other rights",
     [](const Url& f) { ::chmod(f.appending("a").path().c_str(), 0600); },
     {"changed a"}},
    {"written to", [](const Url& f) { write_file(f.appending("a"), "more"); }, {"changed a"}},
    {"exchanged",
     [](const Url& f) {
         ::renameat2(AT_FDCWD, f.appending("a").path().c_str(), AT_FDCWD,
                     f.appending("b").path().c_str(), RENAME_EXCHANGE);
     },
     {"changed a", "changed b"}},
    {"within a folder in it", [](const Url& f) { write_file(f.appending("sub/n"), "1"); }, {}},
};

TEST_F(OrvFolderTest, tells_the_changes_that_others_make)
{
    for (const ChangeRow& row : change_rows) {
        SCOPED_TRACE(row.name);
        fs::remove_all(folder());
        make_tree(folder(), {"f/a=1", "f/b=22", "f/.h=1", "f/sub/", "o=333"});
        WatchedList list(at("f"));
        list.wait_until_complete();
        EXPECT_EQ(list.names(), (std::set<std::string>{"a", "b", "sub"}));

        row.change(at("f"));
        fs::create_directory(in("zz-last"));
        pump_until([&] { return list.has_told("added zz-last"); });
        Lines told = list.told();
        // A file that is written to may be seen more than once on the way.
        told.erase(std::unique(told.begin(), told.end()), told.end());
        std::erase(told, "added zz-last");
        EXPECT_EQ(told, row.told);
    }
}

TEST_F(OrvFolderTest, tells_the_changes_that_requests_make)
{
    make_tree(folder(), {"f/a=1", "o=2"});
    save_all({{.url = in("a"), .is_protected = true}}, false);
    WatchedList list(at("f"));
    list.wait_until_complete();
    statuses_of<RenameOperation>([&](auto take) { return manager().rename(in("a"), "b", take); });
    pump_until([&] { return list.has_told("renamed a b"); });
    EXPECT_TRUE(list.last_renamed().custom_attributes.is_protected);
    statuses_of<CopyOperation>([&](auto take) { return manager().copy(at("o"), in("o"), take); });
    pump_until([&] { return list.has_told("added o"); });
    statuses_of<DeleteOperation>([&](auto take) { return manager().delete_item(in("b"), take); });
    pump_until([&] { return list.has_told("removed b"); });
}

struct EndRow {
    const char* name;
    std::function<void(const Url& folder)> end;
};

const EndRow end_rows[] = {
    {"deleted", [](const Url& f) { fs::remove_all(f); }},
    {"renamed", [](const Url& f) { move(f, f.path() + "2"); }},
    {"the folder above it renamed",
     [](const Url& f) {
         const Url above = f.deleting_last_path_component();
         move(above, above.path() + "2");
     }},
    {"replaced by another one",
     [](const Url& f) {
         move(f, f.path() + "2");
         fs::create_directory(f);
     }},
    {"replaced by a link to it",
     [](const Url& f) {
         move(f, f.path() + "2");
         fs::create_directory_symlink(f.path() + "2", f);
     }},
    {"replaced by a file",
     [](const Url& f) {
         fs::remove_all(f);
         write_file(f, "1");
     }},
};

TEST_F(OrvFolderTest, ends_when_the_folder_is_gone)
{
    for (const EndRow& row : end_rows) {
        SCOPED_TRACE(row.name);
        fs::remove_all(folder());
        fs::remove_all(at("up2"));
        make_tree(folder(), {"up/f/a=1"});
        WatchedList list(at("up/f"));
        list.wait_until_complete();
        row.end(at("up/f"));
        pump_until([&] { return list.is_gone(); });
        Lines told = list.told();
        std::erase(told, "removed a");
        ASSERT_EQ(told.size(), 1U);
        EXPECT_TRUE(told[0].starts_with("gone: ")) << told[0];
    }
}

TEST_F(OrvFolderTest, goes_on_when_the_folder_was_moved_away_and_back)
{
    make_tree(folder(), {"f/a=1"});
    bool went_on = false;
    for (int attempt = 0; attempt < 100 && !went_on; ++attempt) {
        WatchedList list(at("f"));
        list.wait_until_complete();
        move(at("f"), at("g"));
        move(at("g"), at("f"));
        for (const std::string name : {"b", "c"}) {
            const std::string now = name + std::to_string(attempt);
            write_file(in(now.c_str()), "1");
            pump_until([&] { return list.names().contains(now) || list.is_gone(); });
        }
        went_on = !list.is_gone(); // unless it was looked at meanwhile
    }
    EXPECT_TRUE(went_on);
}

TEST_F(OrvFolderTest, ends_when_the_volume_is_unmounted)
{
    if (const auto obstacle = mounts_of_its_own())
        GTEST_SKIP() << *obstacle;
    make_tree(folder(), {"f/below=1"});
    for (const int flags : {0, static_cast<int>(MNT_DETACH)}) {
        ASSERT_EQ(::mount("none", at("f").path().c_str(), "tmpfs", 0, nullptr), 0);
        write_file(in("a"), "1");
        WatchedList list(at("f"));
        list.wait_until_complete();
        EXPECT_EQ(list.names(), std::set<std::string>{"a"});
        // The list may be complete a moment before its reader has closed the folder.
        pump_until([&] { return ::umount2(at("f").path().c_str(), flags) == 0 || errno != EBUSY; });
        pump_until([&] { return list.is_gone(); });
    }
}

TEST_F(OrvFolderTest, says_why_there_is_no_list)
{
    make_tree(folder(), {"file=1"});
    for (const auto& [name, told] :
         {std::pair("none", "gone: No item exists at given url."),
          std::pair("file", "gone: Given url must point to a folder.")}) {
        WatchedList list(at(name));
        list.wait_until_complete();
        EXPECT_EQ(list.told(), Lines{told});
    }
}

TEST_F(OrvFolderTest, takes_hidden_items_in_and_out_while_it_lives)
{
    make_tree(folder(), {"f/a=1", "f/.h=1"});
    WatchedList list(at("f"));
    list.wait_until_complete();
    list.folder().set_include_hidden_files(true);
    pump_until([&] { return list.has_told("added .h"); });
    write_file(in(".i"), "1");
    pump_until([&] { return list.has_told("added .i"); });
    list.folder().set_include_hidden_files(false);
    pump_until([&] { return list.has_told("removed .h") && list.has_told("removed .i"); });
    EXPECT_EQ(list.names(), std::set<std::string>{"a"});
}

TEST_F(OrvFolderTest, compares_now_and_then_beyond_the_limit_of_watches)
{
    FolderWatch::set_bounds({.watches = 2, .look_interval = milliseconds(20)});
    make_tree(folder(), {"f/a=1", "g/a=1", "h/a=1"});
    WatchedList first(at("f"));
    first.wait_until_complete();
    WatchedList second(at("g"));
    second.wait_until_complete();
    WatchedList same(at("f"));
    WatchedList third(at("h"));
    same.wait_until_complete();
    third.wait_until_complete();
    EXPECT_EQ(third.told(), Lines{"compared from now on"});

    for (const char* name : {"f", "g", "h"})
        move(at(name).appending("a"), at(name).appending("b"));
    for (WatchedList* list : {&first, &second, &same, &third})
        pump_until([&] { return list->has_told("renamed a b"); });
    EXPECT_EQ(first.told(), Lines{"renamed a b"});
    EXPECT_EQ(third.told(), (Lines{"compared from now on", "renamed a b"}));
}

TEST_F(OrvFolderTest, is_true_again_after_changes_were_lost)
{
    make_tree(folder(), {"f/a=1", "o=1", "held/"});
    WatchedList list(at("f"));
    list.wait_until_complete();
    // Whoever listens holds the watching thread up, and the kernel's queue for 16,384 changes
    // fills.
    std::binary_semaphore is_held(0);
    std::binary_semaphore may_go_on(0);
    std::atomic<bool> holds = true;
    const FileDescriptor held = opened_folder(at("held"));
    const FolderWatch holder(held.get(), [&](const FolderNotice&) {
        if (holds.exchange(false)) {
            is_held.release();
            may_go_on.acquire();
        }
    });
    write_file(at("held/a"), "1");
    is_held.acquire();
    constexpr int made = 17'000;
    for (int i = 0; i < made; ++i)
        fs::create_hard_link(at("o"), in(std::to_string(i).c_str()));
    fs::remove(in("a"));
    may_go_on.release();
    pump_until([&] { return list.has_told("compared once"); });
    pump_until([&] { return list.names().size() == static_cast<std::size_t>(made); });
    EXPECT_FALSE(list.names().contains("a"));
}

TEST_F(OrvFolderTest, tells_a_whole_tree_once)
{
    make_tree(folder(), {"f/a=1", "f/b/c/d=1", "f/.h/i=1"});
    std::vector<std::string> ways;
    bool is_complete = false;
    OrvFolder tree(at("f"), SortType::by_name(SortOrder::asc), {.recursive = true},
                   [&](const OrvFolder::Status& status) {
                       if (const auto* told = std::get_if<OrvFolder::added>(&status))
                           for (const FileItem& item : told->items)
                               ways.push_back(item.relative_path);
                       is_complete = std::holds_alternative<OrvFolder::complete>(status);
                   });
    pump_until([&] { return is_complete; });
    EXPECT_EQ(ways, (Lines{"a", "b", "b/c", "b/c/d"}));
}

TEST_F(OrvFolderTest, may_end_inside_its_closure_and_while_it_lists)
{
    make_wide_folder(at("f"), 5'000);
    std::unique_ptr<OrvFolder> watched;
    int calls = 0;
    const auto held = std::make_shared<int>(0);
    watched = std::make_unique<OrvFolder>(at("f"), SortType::by_name(SortOrder::asc),
                                          OrvFolder::Options{}, [&, held](const auto&) {
                                              ++calls;
                                              watched.reset();
                                              EXPECT_EQ(held.use_count(), 2);
                                          });
    pump_until([&] { return held.use_count() == 1; });
    EXPECT_EQ(calls, 1);
}

} // namespace
} // namespace orv::test
