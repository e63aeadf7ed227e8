#include "files/TreeWalk.hpp"

#include "files/RemoveTree.hpp"
#include "support/Scratch.hpp"
#include "support/Surroundings.hpp"
#include "support/Tree.hpp"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <filesystem>
#include <functional>
#include <set>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

using Event = TreeWalk::Event;
using Unreadable = TreeWalkOptions::Unreadable;
using Names = std::vector<std::string>;
namespace fs = std::filesystem;

TreeWalkOptions with(Unreadable unreadable)
{
    TreeWalkOptions options;
    options.unreadable = unreadable;
    return options;
}

/// The relative paths of all items, sorted; `at_item` is called at each.
Names items(const Url& root, const TreeWalkOptions& options = {},
            const std::function<void(TreeWalk&)>& at_item = {})
{
    Names found;
    TreeWalk walk(root, options);
    for (Event event = walk.next(); event != Event::end; event = walk.next()) {
        if (event != Event::item)
            continue;
        found.push_back(walk.relative_path());
        if (at_item)
            at_item(walk);
    }
    std::sort(found.begin(), found.end());
    return found;
}

TEST(TreeWalk, BracketsTheContentsOfEachFolder)
{
    const Scratch scratch;
    make_tree(scratch.url(), {"only/one/way/down=1"});
    const std::string root = scratch.url().path();

    std::vector<std::string> events;
    TreeWalk walk(scratch.url());
    for (Event event = walk.next(); event != Event::end; event = walk.next()) {
        const char* const kinds[] = {"item", "entered", "left"};
        events.push_back(std::to_string(walk.level()) + " " + kinds[static_cast<int>(event)] + " " +
                         walk.relative_path());
        EXPECT_EQ(walk.path().substr(walk.path().size() - std::string(walk.name()).size()),
                  walk.name());
        EXPECT_EQ(walk.folder_path(), event == Event::item
                                          ? Url(walk.path()).deleting_last_path_component().path()
                                          : walk.path());
        struct stat facts = {};
        EXPECT_EQ(::fstatat(walk.folder(), event == Event::item ? walk.name() : ".", &facts, 0), 0);
        EXPECT_EQ(facts.st_ino, walk.facts().stx_ino);
    }
    EXPECT_EQ(walk.next(), Event::end);
    EXPECT_EQ(events, Names({"0 entered ", "1 item only", "1 entered only", "2 item only/one",
                             "2 entered only/one", "3 item only/one/way", "3 entered only/one/way",
                             "4 item only/one/way/down", "3 left only/one/way", "2 left only/one",
                             "1 left only", "0 left "}));
}

TEST(TreeWalk, LeavesOutWhatIsSkipped)
{
    const Scratch scratch;
    make_tree(scratch.url(), {"skipped/a=1", "walked/b=1", "walked/skipped/c=1"});
    const auto skip = [](TreeWalk& walk) {
        if (std::string(walk.name()) == "skipped")
            walk.skip_contents();
    };
    EXPECT_EQ(items(scratch.url(), {}, skip),
              Names({"skipped", "walked", "walked/b", "walked/skipped"}));
}

TEST(TreeWalk, TellsEachEntryOfAWideFolderOnce)
{
    const Scratch scratch;
    Names names = make_wide_folder(scratch / "wide", 5000);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(items(scratch / "wide"), names);
}

TEST(TreeWalk, GoesDeeperThanDescriptorsAndPathsReach)
{
    const Scratch scratch;
    constexpr int levels = 3000;
    make_deep_tree(scratch.url(), levels, "a folder");
    {
        const DescriptorLimit limit(70);
        int deepest = 0;
        int files = 0;
        int folders = 0;
        TreeWalk walk(scratch.url(), with(Unreadable::fail));
        for (Event event = walk.next(); event != Event::end; event = walk.next()) {
            deepest = std::max(deepest, walk.level());
            if (event == Event::item)
                ++(walk.is_folder() ? folders : files);
        }
        EXPECT_EQ(deepest, levels);
        EXPECT_EQ(folders, levels);
        EXPECT_EQ(files, 2 * levels);
        remove_tree(scratch.url());
    }
    EXPECT_FALSE(fs::exists(scratch.url()));
}

TEST(TreeWalk, StartsAtAPathLongerThanACallTakes)
{
    const Scratch scratch;
    const std::string name(255, 'n');
    make_deep_tree(scratch.url(), 40, name);
    Url deep = scratch.url();
    for (int level = 0; level < 39; ++level)
        deep = deep.appending(name);
    ASSERT_GT(deep.path().size(), 2U * PATH_MAX);
    EXPECT_EQ(items(deep), Names({"a", name, "z"}));
}

TEST(TreeWalk, KeepsNamesAsTheyAre)
{
    const Scratch scratch;
    const Names names = {"line\nbreak", std::string(255, 'x'), "\xff\xfe not UTF-8"};
    for (const std::string& name : names)
        write_file(scratch / name, "");
    EXPECT_EQ(items(scratch.url()), names);
}

TEST(TreeWalk, ListsLinksAndSpecialFilesWithoutOpeningThem)
{
    const Scratch scratch;
    make_tree(scratch / "outside", {"secret=1"});
    make_tree(scratch / "root", {"loop->.", "dangling->nowhere", "out->../outside"});
    make_fifo(scratch / "root/fifo");
    make_socket(scratch / "root/socket");
    int folders = 0;
    EXPECT_EQ(items(scratch / "root", with(Unreadable::fail),
                    [&](TreeWalk& walk) { folders += walk.is_folder(); }),
              Names({"dangling", "fifo", "loop", "out", "socket"}));
    EXPECT_EQ(folders, 0);
}

TEST(TreeWalk, OpensNoFolderThroughALink)
{
    const Scratch scratch;
    make_tree(scratch.url(), {"folder/", "link->folder"});
    const FileDescriptor root = opened_folder(scratch.url());
    EXPECT_EQ(open_folder(root.get(), "folder").error, 0);
    EXPECT_EQ(open_folder(root.get(), "link").error, ENOTDIR);
    EXPECT_EQ(open_folder_following_links(root.get(), "link").error, 0);
}

TEST(TreeWalk, FollowsALinkAtTheRootOnly)
{
    const Scratch scratch;
    make_tree(scratch.url(), {"folder/a=1", "link->folder"});
    EXPECT_EQ(items(scratch / "link"), Names({"a"}));
    const auto error = error_of([&] { items(scratch / "folder/a"); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), ENOTDIR);
    EXPECT_EQ(error->path(), scratch / "folder/a");
}

TEST(TreeWalk, PassesOverOrFailsAtAFolderThatCannotBeRead)
{
    const Scratch scratch;
    make_tree(scratch.url(), {"closed/inside=1", "open/a=1"});
    fs::permissions(scratch / "closed", fs::perms::none);
    const Unprivileged user(scratch.url());

    EXPECT_EQ(items(scratch.url()), Names({"closed", "open", "open/a"}));
    const auto error = error_of([&] { items(scratch.url(), with(Unreadable::fail)); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), EACCES);
    EXPECT_EQ(error->path(), scratch / "closed");
}

TEST(TreeWalk, PassesOverOrFailsAtAnEntryThatVanishes)
{
    for (const Unreadable unreadable : {Unreadable::pass_over, Unreadable::fail}) {
        const Scratch scratch;
        make_tree(scratch.url(), {"a=1", "b=1"});
        const auto remove_the_other = [&](TreeWalk& walk) {
            fs::remove(scratch / (std::string(walk.name()) == "a" ? "b" : "a"));
        };
        const auto error = error_of([&] {
            EXPECT_EQ(items(scratch.url(), with(unreadable), remove_the_other).size(), 1U);
        });
        EXPECT_EQ(error.has_value(), unreadable == Unreadable::fail);
        EXPECT_TRUE(!error || (error->code() == ENOENT && error->path()));
    }
}

TEST(TreeWalk, NeverReportsLackOfDescriptorsAsAnUnreadableFolder)
{
    const Scratch scratch;
    make_tree(scratch.url(), {"a/b/c/"});
    std::optional<Error> error;
    {
        const DescriptorLimit limit(2);
        error = error_of([&] { items(scratch.url()); });
    }
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), EMFILE);
}

TEST(TreeWalk, EntersTheFolderThatItToldOfAlsoWhenAnotherTakesItsPlace)
{
    for (const char* put_in_its_place : {"link", "other"}) {
        const Scratch scratch;
        make_tree(scratch.url(),
                  {"root/folder/a=1", "outside/secret=1", "link->../outside", "other/secret=1"});
        const auto swap = [&](TreeWalk& walk) {
            if (walk.level() > 1)
                return;
            fs::rename(scratch / "root/folder", scratch / "away");
            fs::rename(scratch / put_in_its_place, scratch / "root/folder");
        };
        EXPECT_EQ(items(scratch / "root", with(Unreadable::fail), swap),
                  Names({"folder", "folder/a"}));
    }
}

TEST(TreeWalk, FindsItsWayBackOnlyWhereItCameFrom)
{
    const Scratch scratch;
    make_tree(scratch.url(), {"root/a/b/c=1", "elsewhere/secret=1"});
    TreeWalkOptions options;
    options.max_open_folders = 1;
    EXPECT_EQ(items(scratch / "root", options), Names({"a", "a/b", "a/b/c"}));

    const auto move_away = [&](TreeWalk& walk) {
        if (std::string(walk.name()) == "c")
            fs::rename(scratch / "root/a/b", scratch / "elsewhere/b");
    };
    const auto error = error_of([&] { items(scratch / "root", options, move_away); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->sentence(), "The folder was moved or replaced while it was in use.");
    EXPECT_EQ(error->path(), scratch / "root/a");
}

} // namespace
} // namespace orv::test
