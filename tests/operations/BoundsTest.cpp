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
    EXPECT_EXIT(in_child(), testing::ExitedWithCode(0),
                "1 error: The request couldn't be started, because the system allows no more "
                "threads\\..*\n1 error: .*no more threads.*\n1 placeholder 10x10");
}

} // namespace
} // namespace orv::test
