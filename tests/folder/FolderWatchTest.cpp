#include "files/FolderWatch.hpp"

#include "support/Scratch.hpp"
#include "support/Surroundings.hpp"
#include "support/Tree.hpp"

#include <fstream>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

int kernel_watches()
{
    int count = 0;
    for (const auto& descriptor : std::filesystem::directory_iterator("/proc/self/fdinfo")) {
        std::ifstream info(descriptor.path());
        for (std::string line; std::getline(info, line);)
            count += line.starts_with("inotify ") ? 1 : 0;
    }
    return count;
}

TEST(FolderWatch, costs_the_kernel_one_watch_a_folder_however_many_there_are_of_it)
{
    const Scratch scratch;
    make_tree(scratch.url(), {"a/", "b/"});
    std::vector<std::unique_ptr<FolderWatch>> watches;
    const auto watch = [&](const char* name) {
        const FileDescriptor folder = opened_folder(scratch / name);
        watches.push_back(std::make_unique<FolderWatch>(folder.get(), [](const FolderNotice&) {}));
    };
    for (const char* name : {"a", "a", "b", "a"})
        watch(name);
    EXPECT_EQ(kernel_watches(), 2);
    watches.resize(2); // "a" alone
    EXPECT_EQ(kernel_watches(), 1);
    watches.clear();
    EXPECT_EQ(kernel_watches(), 0);
}

} // namespace
} // namespace orv::test
