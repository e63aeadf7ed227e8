#include "support/Engine.hpp"
#include "support/Statuses.hpp"
#include "support/Volume.hpp"

#include <algorithm>
#include <cerrno>

namespace orv::test {
namespace {

using Texts = std::vector<std::string>;

class VolumesTest : public EngineTest {
protected:
    std::vector<CopyOperation::Status> copied(const Url& from, const Url& to)
    {
        return statuses_of<CopyOperation>([&](auto take) {
            return manager().copy(from, to, [take](const auto& status) {
                answer(status, ConflictBehaviour::replace);
                take(status);
            });
        });
    }
};

const Texts items = {"a/1=one", "a/2/3=three", "a/2/4/5=five", "a/6->1", "a/empty="};

TEST_F(VolumesTest, a_copy_to_another_one_is_whole_and_leaves_nothing_hidden)
{
    const auto in_memory = Volume::in_memory(4096);
    const auto bound = Volume::bound();
    if (!in_memory || !bound)
        GTEST_SKIP() << "this user may mount nothing";
    make_tree(folder(), items);
    for (const Volume* volume : {in_memory.get(), bound.get()}) {
        const Url copy = volume->url().appending("z");
        EXPECT_EQ(text_of(copied(at("a"), copy).back()), "success");
        EXPECT_EQ(tree(copy), tree(at("a")));
        EXPECT_EQ(text_of(copied(at("a/1"), volume->url().appending("1")).back()), "success");
        EXPECT_EQ(tree(volume->url()).size(), tree(copy).size() + 2);
    }
}

TEST_F(VolumesTest, a_full_one_ends_the_copy_with_nothing_half_done)
{
    const auto volume = Volume::in_memory(256);
    if (!volume)
        GTEST_SKIP() << "this user may mount nothing";
    make_tree(folder(), {"a/1=one", "a/2=" + std::string(1 << 20, 'x'), "a/3=three"});
    const auto before = tree(at("a"));
    const auto statuses = copied(at("a"), volume->url().appending("z"));
    EXPECT_EQ(text_of(statuses.back()), "error: No space left on device.");
    const Error& error = std::get<status::error>(statuses.back()).error;
    EXPECT_EQ(error.code(), ENOSPC);
    EXPECT_EQ(error.path(), volume->url().appending("z/2"));
    for (const std::string& entry : tree(volume->url().appending("z")))
        EXPECT_TRUE(entry == "1=one" || entry == "3=three") << entry.substr(0, 60);
    EXPECT_EQ(tree(at("a")), before);
}

TEST_F(VolumesTest, one_that_fills_up_keeps_what_came_before_the_item_that_failed)
{
    const auto volume = Volume::in_memory(256);
    if (!volume)
        GTEST_SKIP() << "this user may mount nothing";
    const std::string content(8 << 10, 'x');
    Texts many;
    for (int i = 100; i < 160; ++i)
        many.push_back("a/" + std::to_string(i) + "=" + content);
    make_tree(folder(), many);
    const auto said = texts_of(copied(at("a"), volume->url().appending("z")));
    EXPECT_EQ(said.back(), "error: No space left on device.");

    Texts begun;
    for (const std::string& text : said)
        if (text.starts_with("progress 1"))
            begun.push_back(text.substr(9, 3) + "=" + content);
    begun.erase(std::unique(begun.begin(), begun.end()), begun.end());
    ASSERT_GT(begun.size(), 10U);
    begun.pop_back(); // the one that failed
    std::sort(begun.begin(), begun.end());
    EXPECT_TRUE(tree(volume->url().appending("z")) == begun);
}

TEST_F(VolumesTest, one_that_is_mounted_in_a_folder_is_never_deleted_with_it)
{
    const auto volume = Volume::in_memory(64);
    if (!volume)
        GTEST_SKIP() << "this user may mount nothing";
    make_tree(volume->url(), {"precious=1"});
    make_tree(folder(), items);
    const Url around = volume->url().deleting_last_path_component();

    const auto deleted = statuses_of<DeleteOperation>(
        [&](auto take) { return manager().delete_item(around, take); });
    EXPECT_EQ(text_of(deleted.back()), "error: Couldn't delete the item.");
    EXPECT_EQ(std::get<status::error>(deleted.back()).error.code(), EBUSY);
    EXPECT_EQ(std::get<status::error>(deleted.back()).error.path(), volume->url());
    EXPECT_FALSE(manager().sync_delete_item(around));
    EXPECT_EQ(text_of(copied(at("a"), around).back()),
              "error: Destination item couldn't be deleted while being overwritten.");
    EXPECT_EQ(tree(around), (Texts{"volume/", "volume/precious=1"}));
}

} // namespace
} // namespace orv::test
