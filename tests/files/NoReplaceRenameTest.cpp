#include "files/NoReplaceRename.hpp"

#include "support/Scratch.hpp"
#include "support/Surroundings.hpp"
#include "support/Tree.hpp"

#include <cerrno>
#include <filesystem>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv::test {
namespace {

using Names = std::vector<std::string>;
using Way = NoReplaceRename::Way;

bool same_volume(const FileDescriptor& one, const FileDescriptor& other)
{
    struct stat facts[2] = {};
    ::fstat(one.get(), &facts[0]);
    ::fstat(other.get(), &facts[1]);
    return facts[0].st_dev == facts[1].st_dev;
}

class NoReplaceRenameTest : public testing::TestWithParam<Way> {
protected:
    static int rename_once(int from_folder, const char* from, int to_folder, const char* to)
    {
        return NoReplaceRename(GetParam())(from_folder, from, to_folder, to);
    }

    /// Renames below the scratch folder.
    int rename(const char* from, const char* to) const
    {
        const FileDescriptor folder = opened_folder(scratch.url());
        return rename_once(folder.get(), from, folder.get(), to);
    }

    Scratch scratch;
};

std::string name_of(const testing::TestParamInfo<Way>& way)
{
    static const std::string names[] = {"by_flag", "by_link", "by_looking"};
    return names[way.index];
}

INSTANTIATE_TEST_SUITE_P(, NoReplaceRenameTest,
                         testing::Values(Way::by_flag, Way::by_link, Way::by_looking), name_of);

struct RenameCase {
    Names before;
    const char* from;
    const char* to;
    int error;
    Names after;
};

const RenameCase rename_cases[] = {
    // before                   from  to         error   after
    {{"a=1"}, "a", "b", 0, {"b=1"}},
    {{"a=1", "f/"}, "a", "f/b", 0, {"f/", "f/b=1"}},
    {{"a/x/y=1"}, "a", "b", 0, {"b/", "b/x/", "b/x/y=1"}},
    {{"a->nowhere"}, "a", "b", 0, {"b->nowhere"}},
    {{"a=1", "b=2"}, "a", "b", EEXIST, {"a=1", "b=2"}},
    {{"a=1", "b->nowhere"}, "a", "b", EEXIST, {"a=1", "b->nowhere"}},
    {{"a=1", "b/"}, "a", "b", EEXIST, {"a=1", "b/"}},
    {{"a/x=1", "b/"}, "a", "b", EEXIST, {"a/", "a/x=1", "b/"}},
    {{"a/x=1", "b=2"}, "a", "b", EEXIST, {"a/", "a/x=1", "b=2"}},
    {{"a->c", "b->nowhere"}, "a", "b", EEXIST, {"a->c", "b->nowhere"}},
    {{"a=1"}, "a", "a", EEXIST, {"a=1"}},
    {{"a/x=1"}, "a", "a/b", EINVAL, {"a/", "a/x=1"}},
    {{"b=1"}, "a", "c", ENOENT, {"b=1"}},
    {{"a=1"}, "a", "missing/b", ENOENT, {"a=1"}},
};

TEST_P(NoReplaceRenameTest, MovesToAFreeNameOnly)
{
    for (const RenameCase& row : rename_cases) {
        const Scratch place;
        make_tree(place.url(), row.before);
        const FileDescriptor folder = opened_folder(place.url());
        EXPECT_EQ(rename_once(folder.get(), row.from, folder.get(), row.to), row.error)
            << row.before.front() << " to " << row.to;
        EXPECT_EQ(tree(place.url()), row.after);
    }
}

TEST_P(NoReplaceRenameTest, KeepsSpecialItemsAndModes)
{
    make_fifo(scratch / "fifo");
    make_tree(scratch.url(), {"folder/"});
    std::filesystem::permissions(scratch / "folder", std::filesystem::perms::owner_read);
    EXPECT_EQ(rename("fifo", "moved fifo"), 0);
    EXPECT_EQ(rename("folder", "moved folder"), 0);
    struct stat facts = {};
    EXPECT_EQ(::stat((scratch / "moved folder").path().c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode, static_cast<mode_t>(S_IFDIR | S_IRUSR));
    EXPECT_EQ(tree(scratch.url()), Names({"moved fifo|", "moved folder/"}));
}

TEST_P(NoReplaceRenameTest, TellsThatVolumesDifferAndLeavesNothing)
{
    std::string other = "/dev/shm/orv-test-XXXXXX";
    if (!::mkdtemp(other.data()))
        GTEST_SKIP() << "no second volume";
    make_tree(scratch.url(), {"file=1", "folder/"});
    {
        const FileDescriptor from = opened_folder(scratch.url());
        const FileDescriptor to = opened_folder(other);
        if (same_volume(from, to)) {
            ::rmdir(other.c_str());
            GTEST_SKIP() << "no second volume";
        }
        EXPECT_EQ(rename_once(from.get(), "file", to.get(), "file"), EXDEV);
        EXPECT_EQ(rename_once(from.get(), "folder", to.get(), "folder"), EXDEV);
    }
    EXPECT_EQ(tree(other), Names());
    EXPECT_EQ(tree(scratch.url()), Names({"file=1", "folder/"}));
    std::filesystem::remove_all(other);
}

// The kernel lets nobody link a file that they may not write, so this one takes the way of a file
// system without hard links.
TEST_P(NoReplaceRenameTest, NeedsNoHardLinks)
{
    make_tree(scratch.url(), {"a=1", "b=2"});
    std::filesystem::permissions(scratch / "a", std::filesystem::perms::owner_read);
    const Unprivileged user(scratch.url());
    EXPECT_EQ(rename("a", "b"), EEXIST);
    EXPECT_EQ(rename("a", "c"), 0);
    EXPECT_EQ(rename("c", "missing/c"), ENOENT);
    EXPECT_TRUE(std::filesystem::exists(scratch / "c"));
    EXPECT_EQ(std::filesystem::file_size(scratch / "c"), 1U);
    EXPECT_FALSE(std::filesystem::exists(scratch / "a"));
    EXPECT_EQ(read_file(scratch / "b"), "2");
}

} // namespace
} // namespace orv::test
