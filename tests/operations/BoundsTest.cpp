#include "support/Engine.hpp"
#include "support/Limits.hpp"
#include "support/Statuses.hpp"
#include "support/Volume.hpp"
#include "utility/FileDescriptor.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>

namespace orv::test {
namespace {

class BoundsTest : public EngineTest {};

/// While it lives, whoever changes something on the volume gets stuck.
class Frozen {
public:
    explicit Frozen(const Volume& volume)
        : root_(::open(volume.url().path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
    {
        if (::ioctl(root_.get(), FIFREEZE, 0) != 0)
            throw std::runtime_error("the volume can't be frozen");
    }
    ~Frozen() { ::ioctl(root_.get(), FITHAW, 0); }
    Frozen(const Frozen&) = delete;
    Frozen& operator=(const Frozen&) = delete;

private:
    FileDescriptor root_;
};

TEST_F(BoundsTest, requests_stuck_on_a_volume_stop_no_other)
{
    const auto volume = Volume::ext4(8);
    if (!volume)
        GTEST_SKIP() << "no file system can be made and mounted";
    make_tree(folder(), {"tree/a=a"});
    const int stuck_count =
        3 * std::max(4, 2 * static_cast<int>(std::thread::hardware_concurrency()));
    std::vector<std::string> ended;
    {
        const Frozen frozen(*volume);
        for (int i = 0; i < stuck_count; ++i)
            manager().copy(at("tree"), volume->url().appending(std::to_string(i)),
                           [&](const CopyOperation::Status& status) {
                               if (is_final(status))
                                   ended.push_back(text_of(status));
                           });
        const auto listed = statuses_of<FetchItemsOperation>(
            [&](auto take) { return manager().fetch_items(at("tree"), true, {}, true, take); });
        EXPECT_EQ(texts_of(listed), std::vector<std::string>{"success a"});
        EXPECT_TRUE(ended.empty());
    }
    pump_until([&] { return ended.size() == static_cast<std::size_t>(stuck_count); });
    EXPECT_EQ(ended, std::vector<std::string>(ended.size(), "success"));
}

/// A tree of `levels` folders, one in the other, with files in each of them.
std::vector<std::string> deep_tree(const std::string& name, int levels)
{
    std::vector<std::string> entries;
    std::string folder = name + "/";
    for (int level = 0; level < levels; ++level, folder += "folder/")
        for (const char* file : {"a=1", "b=2", "c=3", "d=4"})
            entries.push_back(folder + file);
    return entries;
}

TEST_F(BoundsTest, many_requests_at_once_share_the_descriptors)
{
    make_tree(folder(), deep_tree("tree", 25));
    constexpr int requests = 60;
    constexpr int others = 8;
    std::vector<std::string> ended;
    const auto take_end = [&](const auto& status) {
        if (is_final(status))
            ended.push_back(text_of(status));
    };
    {
        const FewDescriptors few(256);
        for (int i = 0; i < requests; ++i) {
            manager().copy(at("tree"), at("copy " + std::to_string(i)), take_end);
            if (i >= others)
                continue;
            manager().search_items(at("tree"), "none", true, true,
                                   {SearchItemsOperation::Criteria::file_content}, take_end);
            manager().zip({at("tree")}, at(std::to_string(i) + ".zip"), {}, ConflictBehaviour::stop,
                          take_end);
        }
        pump_until([&] { return ended.size() == requests + 2 * others; });
    }
    EXPECT_EQ(std::count(ended.begin(), ended.end(), "success"), requests + others);
    EXPECT_EQ(std::count(ended.begin(), ended.end(), "completed"), others)
        << testing::PrintToString(ended);
    EXPECT_EQ(tree(at("copy 59")), tree(at("tree")));
}

TEST_F(BoundsTest, deep_trees_are_deleted_with_few_descriptors)
{
    make_tree(folder(), deep_tree("tree", 60));
    const FewDescriptors few(48);
    const auto deleted = statuses_of<DeleteOperation>(
        [&](auto take) { return manager().delete_item(at("tree"), take); });
    EXPECT_EQ(texts_of(deleted), std::vector<std::string>{"success"});
}

TEST_F(BoundsTest, a_request_that_waits_for_descriptors_can_be_cancelled)
{
    make_tree(folder(), {"tree/a=1"});
    const FewDescriptors few(64);
    std::string end_of_waiting;
    const auto cancel_waiting_one = [&] {
        const auto waiting = manager().copy(at("tree"), at("second"), [&](const auto& status) {
            if (is_final(status))
                end_of_waiting = text_of(status);
        });
        MainQueue::instance().run_for(std::chrono::milliseconds(50));
        EXPECT_TRUE(waiting->is_busy());
        waiting->cancel();
        pump_until([&] { return !waiting->is_busy(); });
    };
    const auto copied = statuses_of<CopyOperation>([&](auto take) {
        return manager().copy(at("tree"), at("first"), [&, take](const auto& status) {
            if (end_of_waiting.empty() && text_of(status).starts_with("progress"))
                cancel_waiting_one();
            take(status);
        });
    });
    EXPECT_EQ(end_of_waiting, "cancelled");
    EXPECT_EQ(text_of(copied.back()), "success");
}

TEST_F(BoundsTest, no_thread_to_be_had_is_an_error_of_the_request)
{
    const auto in_child = [&] {
        forbid_threads();
        const auto size = statuses_of<FolderSizeOperation>(
            [&](auto take) { return manager().calculate_folder_size(folder(), take); });
        const auto made = statuses_of<NewFolderOperation>(
            [&](auto take) { return manager().create_new_folder(at("new"), false, take); });
        const auto thumb = statuses_of<ThumbGenerateOpr>(
            [&](auto take) { return manager().generate_thumb(at("none"), 10, 10, take); });
        for (const auto& text : {texts_of(size), texts_of(made), texts_of(thumb)})
            std::fprintf(stderr, "%zu %s\n", text.size(), text.back().c_str());
        std::_Exit(0);
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(in_child(), testing::ExitedWithCode(0),
                "1 error: The request couldn't be started, because the system allows no more "
                "threads\\..*\n1 error: .*no more threads.*\n1 placeholder 10x10");
}

} // namespace
} // namespace orv::test
