#include "files/RemoveTree.hpp"

#include "support/Scratch.hpp"
#include "support/Surroundings.hpp"
#include "support/Tree.hpp"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

namespace orv::test {
namespace {

using Names = std::vector<std::string>;
namespace fs = std::filesystem;

TEST(RemoveTree, RemovesTheItemAndNothingElse)
{
    const Names removable[] = {
        {"it=1"},
        {"it/"},
        {"it/a/b/c=1", "it/.hidden=1", "it/\xff=1", "it/" + std::string(255, 'n') + "/x=1"},
        {"it->kept"},
        {"it->nowhere"},
        {"it/link->../kept", "it/up->..", "it/dangling->nowhere"},
    };
    for (const Names& entries : removable) {
        const Scratch scratch;
        make_tree(scratch.url(), {"kept/file=1"});
        const Names before = tree(scratch.url());
        make_tree(scratch.url(), entries);
        remove_tree(scratch / "it");
        EXPECT_EQ(tree(scratch.url()), before) << entries.front();
    }
}

TEST(RemoveTree, RemovesANameOfAnOpenFolder)
{
    const Scratch scratch;
    make_tree(scratch.url(), {"it/a/b=1", "kept=1"});
    make_fifo(scratch / "it/fifo");
    make_socket(scratch / "it/a/socket");
    remove_tree(opened_folder(scratch.url()).get(), "it", scratch / "it");
    EXPECT_EQ(tree(scratch.url()), Names({"kept=1"}));
}

TEST(RemoveTree, RemovesAWideFolder)
{
    const Scratch scratch;
    make_wide_folder(scratch / "wide", 5000);
    remove_tree(scratch / "wide");
    EXPECT_EQ(tree(scratch.url()), Names());
}

TEST(RemoveTree, ReachesDeeperThanDescriptorsAndPathsDo)
{
    const Scratch scratch;
    fs::create_directory(scratch / "deep");
    const std::string name(200, 'n');
    make_deep_tree(scratch / "deep", 300, name);
    Url far_down = scratch / "deep";
    for (int level = 0; level < 290; ++level)
        far_down = far_down.appending(name);
    {
        const DescriptorLimit limit(70);
        remove_tree(far_down);
        remove_tree(scratch / "deep");
    }
    EXPECT_EQ(tree(scratch.url()), Names());
}

TEST(RemoveTree, RefusesTheRootAndDots)
{
    struct Row {
        std::string path;
        int code;
    };
    const Scratch scratch;
    make_tree(scratch.url(), {"a=1", "folder/b=1"});
    const Names before = tree(scratch.url());
    const Row rows[] = {
        {"/", EPERM},
        {"//", EPERM},
        {"/.", EPERM},
        {"/..", EPERM},
        {"/tmp/..", EPERM},
        {scratch.url().path() + "/folder/.", EINVAL},
        {scratch.url().path() + "/folder/..", EINVAL},
    };
    std::vector<std::optional<Error>> errors;
    {
        // One descriptor is enough to be refused, and too few to do harm where it is not.
        const DescriptorLimit limit(1);
        for (const Row& row : rows)
            errors.push_back(error_of([&] { remove_tree(Url(row.path)); }));
        errors.push_back(error_of([] { remove_tree(AT_FDCWD, "/", "/"); }));
    }
    for (std::size_t i = 0; i < errors.size(); ++i) {
        ASSERT_TRUE(errors[i]) << i;
        EXPECT_EQ(errors[i]->code(), i < std::size(rows) ? rows[i].code : EPERM) << i;
    }
    EXPECT_EQ(tree(scratch.url()), before);
}

TEST(RemoveTree, StopsAtTheFirstFailureAndNamesIt)
{
    const Scratch scratch;
    make_tree(scratch.url(), {"it/a/b/closed/inside=1"});
    fs::permissions(scratch / "it/a/b/closed", fs::perms(0555));
    for (const char* folder : {"it", "it/a", "it/a/b"})
        fs::permissions(scratch / folder, fs::perms::all);
    const Unprivileged user(scratch.url());

    const auto error = error_of([&] { remove_tree(scratch / "it"); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), EACCES);
    EXPECT_EQ(error->path(), scratch / "it/a/b/closed/inside");
    EXPECT_EQ(error_of([&] { remove_tree(scratch / "missing"); })->code(), ENOENT);
}

TEST(RemoveTree, NeverEntersAMountedVolume)
{
    const Scratch scratch;
    if (const auto why = mounts_of_its_own())
        GTEST_SKIP() << *why;
    make_tree(scratch.url(), {"it/empty/", "it/bound/", "kept/file=1"});
    const std::string bound = (scratch / "it/bound").path();
    const std::string empty = (scratch / "it/empty").path();
    ASSERT_EQ(::mount((scratch / "kept").path().c_str(), bound.c_str(), nullptr, MS_BIND, nullptr),
              0);

    for (const char* item : {"it", "it/bound"}) {
        const auto error = error_of([&] { remove_tree(scratch / item); });
        ASSERT_TRUE(error) << item;
        EXPECT_EQ(error->code(), EBUSY);
        EXPECT_EQ(error->path(), scratch / "it/bound");
    }
    EXPECT_EQ(read_file(scratch / "kept/file"), "1");

    ASSERT_EQ(::umount(bound.c_str()), 0);
    fs::create_directories(empty);
    ASSERT_EQ(::mount("none", empty.c_str(), "tmpfs", 0, nullptr), 0);
    write_file(scratch / "it/empty/inside", "1");
    EXPECT_EQ(error_of([&] { remove_tree(scratch / "it"); })->code(), EBUSY);
    EXPECT_EQ(read_file(scratch / "it/empty/inside"), "1");
    ASSERT_EQ(::umount(empty.c_str()), 0);
}

TEST(RemoveTree, IsNotLedOutsideByFoldersThatKeepBeingSwapped)
{
    constexpr int folders = 20;
    for (int round = 0; round < 40; ++round) {
        const Scratch scratch;
        Names entries = {"outside/a=1", "outside/b/c=1"};
        std::vector<std::pair<std::string, std::string>> pairs;
        for (int i = 0; i < folders; ++i) {
            const std::string number = std::to_string(i);
            entries.push_back("it/folder " + number + "/a=1");
            entries.push_back("link " + number + "->../outside");
            pairs.emplace_back((scratch / ("it/folder " + number)).path(),
                               (scratch / ("link " + number)).path());
        }
        make_tree(scratch.url(), entries);
        const Names before = tree(scratch / "outside");

        std::atomic<bool> swapping = false;
        std::atomic<bool> done = false;
        std::thread swapper([&] {
            for (; !done; swapping = true)
                for (const auto& [folder, link] : pairs)
                    ::renameat2(AT_FDCWD, folder.c_str(), AT_FDCWD, link.c_str(), RENAME_EXCHANGE);
        });
        while (!swapping)
            std::this_thread::yield();
        (void)error_of([&] { remove_tree(scratch / "it"); });
        done = true;
        swapper.join();
        ASSERT_EQ(tree(scratch / "outside"), before);
    }
}

} // namespace
} // namespace orv::test
