#include "support/Engine.hpp"
#include "support/Limits.hpp"
#include "support/Statuses.hpp"
#include "utility/FileDescriptor.hpp"

#include <algorithm>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv::test {
namespace {

constexpr int depth = 1100;
constexpr const char* step = "folder";

FileDescriptor opened(int folder, const char* name)
{
    return FileDescriptor(::openat(folder, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

/// A folder in a folder in a folder…, the last of which has a file in it.
void make_deep_tree(const Url& root)
{
    FileDescriptor folder = opened(AT_FDCWD, root.path().c_str());
    for (int i = 0; i < depth; ++i) {
        EXPECT_EQ(::mkdirat(folder.get(), step, 0750), 0);
        folder = opened(folder.get(), step);
    }
    const FileDescriptor file(::openat(folder.get(), "file", O_WRONLY | O_CREAT, 0600));
    EXPECT_EQ(::write(file.get(), "deep", 4), 4);
}

/// How deep the tree is, and what the file at its end holds.
std::string end_of(const Url& root)
{
    FileDescriptor folder = opened(AT_FDCWD, root.path().c_str());
    int levels = 0;
    while (FileDescriptor next = opened(folder.get(), step)) {
        folder = std::move(next);
        ++levels;
    }
    char text[16] = {};
    const FileDescriptor file(::openat(folder.get(), "file", O_RDONLY));
    const ssize_t length = ::read(file.get(), text, sizeof text);
    return std::to_string(levels) + " " +
           std::string(text, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
}

/// In memory if that can be: many file systems take seconds to remove such a tree.
class DeepTreesTest : public EngineTest {
protected:
    [[nodiscard]] Url at(std::string_view name) const { return scratch_ / name; }

private:
    Scratch scratch_{::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : ""};
};

TEST_F(DeepTreesTest, deeper_than_paths_and_descriptors_reach)
{
    make_tree(at("a"), {});
    make_deep_tree(at("a"));
    const FewDescriptors few(250);

    const auto size = statuses_of<FolderSizeOperation>(
        [&](auto take) { return manager().calculate_folder_size(at("a"), take); });
    EXPECT_EQ(text_of(size.back()), "success 4");

    auto listing = statuses_of<FetchItemsOperation>(
        [&](auto take) { return manager().fetch_items(at("a"), true, {}, true, take); });
    const auto* items = std::get_if<FetchItemsOperation::success>(&listing.back());
    ASSERT_TRUE(items) << text_of(listing.back());
    EXPECT_EQ(items->content.size(), depth + 1U);
    EXPECT_EQ(items->content.back().level, depth + 1);

    const auto copied = statuses_of<CopyOperation>(
        [&](auto take) { return manager().copy(at("a"), at("z"), take); });
    EXPECT_EQ(text_of(copied.back()), "success");
    EXPECT_EQ(end_of(at("z")), std::to_string(depth) + " deep");

    const Url deep = items->content.back().url;
    EXPECT_TRUE(manager().file_exists(deep));
    const auto out = statuses_of<CopyOperation>(
        [&](auto take) { return manager().copy(deep, at("out"), take); });
    EXPECT_EQ(text_of(out.back()), "success");
    EXPECT_EQ(read_file(at("out")), "deep");

    const auto kept_both = statuses_of<CopyOperation>([&](auto take) {
        return manager().copy(deep, deep, [take](const CopyOperation::Status& status) {
            answer(status, ConflictBehaviour::keep_both);
            take(status);
        });
    });
    EXPECT_EQ(text_of(kept_both.back()), "success");
    EXPECT_TRUE(manager().file_exists(deep.deleting_last_path_component().appending("file 2")));
    EXPECT_EQ(FileItem(deep, deep).size, 4);

    for (const char* name : {"a", "z"}) {
        const auto deleted = statuses_of<DeleteOperation>(
            [&](auto take) { return manager().delete_item(at(name), take); });
        EXPECT_EQ(text_of(deleted.back()), "success");
    }
    EXPECT_FALSE(manager().file_exists(at("z")));
}

} // namespace
} // namespace orv::test
