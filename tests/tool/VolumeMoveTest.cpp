#include "Tool/CopyRecord.hpp"
#include "Tool/ExactCopy.hpp"
#include "Tool/RecordedSource.hpp"
#include "Tool/Tool.hpp"
#include "support/Engine.hpp"
#include "support/Snapshot.hpp"
#include "support/Surroundings.hpp"
#include "support/Volume.hpp"

#include <cerrno>
#include <climits>
#include <filesystem>
#include <functional>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace orv::test {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

Url operator/(const Url& folder, std::string_view name)
{
    return folder.appending(name);
}

struct stat facts_of(const Url& url)
{
    struct stat facts {};
    EXPECT_EQ(::lstat(url.path().c_str(), &facts), 0) << url.path();
    return facts;
}

void set_time(const Url& url, time_t time)
{
    const timespec times[] = {{time, 1}, {time, 123'456'789}};
    ::utimensat(AT_FDCWD, url.path().c_str(), times, AT_SYMLINK_NOFOLLOW);
}

Names differences(const Snapshot& one, const Snapshot& other)
{
    Names names;
    for (const auto& [path, item] : one)
        if (const auto found = other.find(path); found == other.end())
            names.push_back(path + " is missing");
        else if (!found->second.alike(item))
            names.push_back(path + ": " + described(found->second) + " not " + described(item));
    for (const auto& [path, item] : other)
        if (!one.contains(path))
            names.push_back(path + " is too much");
    return names;
}

class VolumeMove : public EngineTest {
protected:
    void SetUp() override
    {
        if (!volume_ || !bound_)
            GTEST_SKIP() << "this user may mount nothing";
        volumes_ = {volume_.get(), bound_.get()};
    }

    [[nodiscard]] Url there(std::string_view name) const { return volume_->url().appending(name); }

    std::unique_ptr<Volume> volume_ = Volume::in_memory(4096);
    std::unique_ptr<Volume> bound_ = Volume::bound();
    std::vector<const Volume*> volumes_;
};

/// Items of every kind, with whatever is kept of them.
void make_items(const Url& root)
{
    make_tree(root, {"file=1", "link->nowhere", "tree/.hidden.orvresume=2", "tree/empty/",
                     "tree/link->sub", "tree/sub/one=3", "tree/sub/deep/x=4", "sparse="});
    make_fifo(root / "fifo");
    make_socket(root / "tree/socket");
    fs::resize_file(root / "sparse", 1 << 20);
    fs::create_hard_link(root / "tree/sub/one", root / "tree/two");
    fs::create_hard_link(root / "tree/sub/one", root / "three");
    ::setxattr((root / "tree/sub").path().c_str(), "user.note", "a", 1, 0);
    ::setxattr((root / "file").path().c_str(), "user.note", "b", 1, 0);
    const struct {
        const char* name;
        mode_t mode;
    } modes[] = {{"file", 0640}, {"fifo", 0622}, {"tree/sub/deep", 0555}, {"tree", 01777}};
    for (const auto& item : modes)
        ::chmod((root / item.name).path().c_str(), item.mode);
    time_t time = 1'000'000;
    for (const char* name : {"file", "link", "fifo", "sparse", "tree/socket", "tree/empty",
                             "tree/link", "tree/sub/one", "tree/sub/deep", "tree/sub", "tree"})
        set_time(root / name, time += 1000);
}

TEST_F(VolumeMove, KeepsWhatEveryKindOfItemIs)
{
    for (const Volume* volume : volumes_) {
        const Volume* other = volume;
        const auto source = Volume::in_memory(4096);
        make_items(source->url());
        const Snapshot before = snapshot_of(source->url());
        for (const char* name : {"tree", "file", "link", "fifo", "sparse", "three"})
            Tool::move_item(source->url().appending(name), other->url().appending(name));
        EXPECT_EQ(differences(before, snapshot_of(other->url())), Names());
        EXPECT_EQ(tree(source->url()), Names());
        EXPECT_EQ(facts_of(other->url().appending("tree/sub/one")).st_ino,
                  facts_of(other->url().appending("tree/two")).st_ino);
        ::chmod(other->url().appending("tree/sub/deep").path().c_str(), 0700);
    }
}

TEST_F(VolumeMove, ReachesDeeperThanDescriptorsAndPathsDo)
{
    constexpr int levels = 150;
    make_tree(folder(), {"deep/"});
    make_deep_tree(at("deep"), levels, std::string(200, 'n'));
    {
        const DescriptorLimit limit(150);
        Tool::move_item(at("deep"), there("deep"));
    }
    EXPECT_FALSE(Tool::item_exists(at("deep")));
    int items = 0;
    Tool::iterate_contents(there("deep"), false, true, {}, true, [&](const FileItem&) {
        ++items;
        return true;
    });
    EXPECT_EQ(items, 3 * levels);
}

TEST_F(VolumeMove, RemembersMoreThanItKeepsInMemory)
{
    constexpr int count = 12'000;
    make_wide_folder(at("wide"), count);
    Tool::move_item(at("wide"), there("wide"));
    EXPECT_EQ(tree(folder()), Names());
    EXPECT_EQ(tree(there("wide")).size(), static_cast<std::size_t>(count));
    EXPECT_EQ(facts_of(there("wide/a name of some length 7")).st_nlink,
              static_cast<nlink_t>(count));
}

void hand_over(const Url& url)
{
    constexpr uid_t nobody = 65534;
    ASSERT_EQ(::chown(url.path().c_str(), nobody, nobody), 0);
}

struct RefusedCase {
    const char* name;
    std::function<void(const Url& source, const Url& volume)> prepare;
    int code;
    const char* path; ///< below the source, or the volume when it begins with "@"
    const char* from = "a";
    const char* to = "@z";
};

void bind(const Url& folder, const Url& at)
{
    ASSERT_EQ(::mount(folder.path().c_str(), at.path().c_str(), nullptr, MS_BIND, nullptr), 0);
}

void make_read_only(const Url& volume)
{
    ASSERT_EQ(::mount(nullptr, volume.path().c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
}

void make_device(const Url& source, const Url&)
{
    ASSERT_EQ(::mknod((source / "a/2/device").path().c_str(), S_IFCHR | 0600, ::makedev(1, 3)), 0);
}

std::function<void(const Url&, const Url&)> with_mode(const char* name, mode_t mode)
{
    return [=](const Url& source, const Url&) { ::chmod((source / name).path().c_str(), mode); };
}

const std::function<void(const Url&, const Url&)> nothing = [](const Url&, const Url&) {};

const RefusedCase refused_cases[] = {
    {"taken name", [](const Url&, const Url& volume) { make_tree(volume, {"z=kept"}); }, EEXIST,
     "@z"},
    {"no space",
     [](const Url& source, const Url&) {
         fs::resize_file(source / "a/2/x", 0),
             write_file(source / "a/2/x", std::string(5 << 20, 'x'));
     },
     ENOSPC, "@z/2/x"},
    {"a device", make_device, 0, "a/2/device"},
    {"a mounted volume",
     [](const Url& source, const Url&) { bind(source / "b", source / "a/2/y"); }, EBUSY, "a/2/y"},
    {"a mounted file",
     [](const Url& source, const Url&) { bind(source / "other", source / "a/2/x"); }, EBUSY,
     "a/2/x"},
    {"the root of a volume",
     [](const Url& source, const Url& volume) { bind(volume, source / "a"); }, EBUSY, "a", "a",
     "@z"},
    {"into itself",
     [](const Url& source, const Url& volume) {
         make_tree(volume, {"inside/"});
         bind(source / "a/2", volume / "inside");
     },
     EINVAL, "a/2", "a", "@inside/z"},
    {"a source that is read only", [](const Url& source, const Url&) { make_read_only(source); },
     EROFS, ""},
    {"nothing of it may be read", with_mode("a/2/x", 0), EACCES, "a/2/x"},
    {"a folder may not be read", with_mode("a/2", 0300), EACCES, "a/2"},
    {"a folder may not be changed", with_mode("a/2", 0500), EACCES, "a/2"},
    {"its folder may not be changed", with_mode("", 0500), EACCES, ""},
    {"the other folder may not be changed",
     [](const Url&, const Url& volume) { ::chmod(volume.path().c_str(), 0500); }, EACCES, "@z"},
};

Url place_of(const std::string& text, const Url& source, const Url& volume)
{
    if (text.empty())
        return source;
    return text[0] == '@' ? volume.appending(text.substr(1)) : source.appending(text);
}

TEST_F(VolumeMove, LeavesTheSourceWholeAndNothingElseWhenItFails)
{
    hand_over(processed_files_folder());
    ::chmod(root().path().c_str(), 0755);
    for (const RefusedCase& row : refused_cases) {
        SCOPED_TRACE(row.name);
        make_tree(folder(), {"unprivileged/"});
        const auto source_volume = Volume::in_memory(8192);
        const auto volume = Volume::in_memory(4096);
        const Url source = source_volume->url();
        make_tree(source, {"a/1=one", "a/2/x=two", "a/2/y/", "a/3->1", "b/", "other="});
        for (const char* name : {"a", "a/1", "a/2", "a/2/x", "a/2/y"})
            hand_over(source / name);
        for (const Url& top : {source, volume->url()}) {
            hand_over(top);
            ::chmod(top.deleting_last_path_component().path().c_str(), 0755);
        }
        row.prepare(source, volume->url());
        Snapshot before = snapshot_of(source);
        if (row.code == EINVAL) // the copy was begun in the source
            before.at("a/2").time.reset();
        const Names there_before = tree(volume->url());

        std::optional<Error> error;
        {
            const Unprivileged user(at("unprivileged"));
            error = error_of([&] {
                Tool::move_item(place_of(row.from, source, volume->url()),
                                place_of(row.to, source, volume->url()));
            });
        }
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code().value_or(0), row.code) << error->message();
        EXPECT_EQ(error->path().value().path(), place_of(row.path, source, volume->url()).path());
        EXPECT_EQ(differences(before, snapshot_of(source)), Names());
        EXPECT_EQ(tree(volume->url()), there_before);
        EXPECT_EQ(tree(processed_files_folder()), Names());
    }
}

struct ChangeCase {
    const char* name;
    std::function<void(const Url&)> change; ///< of the tree "a" below a folder
    const char* path;                       ///< of what is told of; when empty, of nothing
    Names remaining;                        ///< of what is removed afterwards
};

void overwrite(const Url& url)
{
    const struct stat facts = facts_of(url);
    const FileDescriptor file(::open(url.path().c_str(), O_WRONLY | O_CLOEXEC));
    ASSERT_EQ(::pwrite(file.get(), "X", 1, 0), 1);
    const timespec times[] = {facts.st_atim, facts.st_mtim};
    ::futimens(file.get(), times);
}

const ChangeCase change_cases[] = {
    {"nothing", [](const Url&) {}, "", {}},
    {"a file, its size and time as before",
     [](const Url& at) { overwrite(at / "a/2/x"); },
     "a/2/x",
     {"a/", "a/2/", "a/2/x=Xwo"}},
    {"a mode",
     [](const Url& at) { ::chmod((at / "a/1").path().c_str(), 0600); },
     "a/1",
     {"a/", "a/1=one"}},
    {"a file is another one",
     [](const Url& at) { fs::rename(at / "other", at / "a/1"); },
     "a/1",
     {"a/", "a/1=other"}},
    {"a file is a folder",
     [](const Url& at) { fs::remove(at / "a/1"), make_tree(at, {"a/1/new=1"}); },
     "a/1",
     {"a/", "a/1/", "a/1/new=1"}},
    {"a link leads elsewhere",
     [](const Url& at) { fs::remove(at / "a/3"), fs::create_symlink("2", at / "a/3"); },
     "a/3",
     {"a/", "a/3->2"}},
    {"one more",
     [](const Url& at) { make_tree(at, {"a/2/new=1"}); },
     "a/2",
     {"a/", "a/2/", "a/2/new=1"}},
    {"a folder is another one",
     [](const Url& at) { fs::rename(at / "a/2", at / "away"), make_tree(at, {"a/2/x=1"}); },
     "a/2",
     {"a/", "a/2/", "a/2/x=1", "away/", "away/x=two"}},
    {"a folder is a link",
     [](const Url& at) {
         fs::rename(at / "a/2", at / "away");
         fs::create_symlink("../away", at / "a/2");
     },
     "a/2",
     {"a/", "a/2->../away", "away/", "away/x=two"}},
};

/// Finds the changes of a copied tree, and removes nothing else than what was copied.
TEST_F(VolumeMove, RemovesOnlyWhatWasCopiedAndIsUnchanged)
{
    for (const ChangeCase& row : change_cases) {
        SCOPED_TRACE(row.name);
        const Scratch scratch(folder());
        const Scratch destination(volume_->url());
        make_tree(scratch.url(), {"a/1=one", "a/2/x=two", "a/3->1"});
        write_file(at("other"), "other");
        const FileDescriptor folder = opened_folder(scratch.url());
        const FileDescriptor there = opened_folder(destination.url());
        const SourceItem source{folder.get(), "a", scratch / "a"};
        CopyRecord record;
        copy_exactly(source, {{there.get(), destination.url()}, "z"}, record, unwatched());
        EXPECT_EQ(tree(destination / "z"), tree(scratch / "a"));

        write_file(scratch / "other", "other");
        row.change(scratch.url());
        fs::remove(scratch / "other");
        const auto told = error_of([&] { check_unchanged(source, record); });
        const auto left = error_of([&] { remove_copied(source, record, unwatched()); });
        if (*row.path == '\0') {
            EXPECT_FALSE(told || left);
        } else {
            EXPECT_EQ(told.value().path().value(), scratch / row.path);
            EXPECT_TRUE(left);
        }
        EXPECT_EQ(tree(scratch.url()), row.remaining);
    }
}

} // namespace
} // namespace orv::test
