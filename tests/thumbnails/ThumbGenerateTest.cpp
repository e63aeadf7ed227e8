#include "support/Engine.hpp"
#include "support/Statuses.hpp"
#include "thumbnails/DrawnPicture.hpp"

#include <chrono>
#include <future>

namespace orv::test {
namespace {

using Texts = std::vector<std::string>;

class ThumbGenerateTest : public EngineTest {};

TEST_F(ThumbGenerateTest, every_way_to_ask_delivers_the_thumbnail)
{
    make_tree(folder(), {"a.x=1", "a=1"});
    add_drawing({"x"}, [] { return drawn(40, 20); });
    OrvFileBrowser browser;
    FileItem item;
    item.url = at("a.x");
    using Take = ThumbGenerateOpr::StatusClosure;
    const std::function<std::shared_ptr<ThumbGenerateOpr>(Take)> ways[] = {
        [&](const Take& take) { return manager().generate_thumb(at("a.x"), 20, {}, take); },
        [&](const Take& take) { return browser.generate_thumb(at("a.x"), 20, {}, take); },
        [&](const Take& take) { return generate_thumbnail(item, 20, {}, take); },
    };
    for (const auto& way : ways)
        EXPECT_EQ(texts_of(statuses_of<ThumbGenerateOpr>(way)), Texts{"success 20x10"});
    const auto unknown = statuses_of<ThumbGenerateOpr>(
        [&](const Take& take) { return manager().generate_thumb(at("a"), 7, 7, take); });
    EXPECT_EQ(texts_of(unknown), Texts{"placeholder 7x7"});
}

TEST_F(ThumbGenerateTest, a_thumbnail_that_is_cancelled_before_its_turn_is_not_made)
{
    OrvFileManager::set_test_mode(true);
    const auto generator = add_drawing({"x"}, [] { return drawn(4, 4); });
    const auto start = std::chrono::steady_clock::now();
    const auto statuses = statuses_of<ThumbGenerateOpr>([&](auto take) {
        const auto operation = manager().generate_thumb(at("a.x"), {}, {}, take);
        operation->cancel();
        return operation;
    });
    EXPECT_EQ(texts_of(statuses), Texts{"cancelled"});
    EXPECT_EQ(generator->count(), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

TEST_F(ThumbGenerateTest, of_many_that_are_cancelled_none_more_is_made_before_the_next)
{
    std::promise<void> gate;
    const auto generator = add_drawing(
        {"x"}, [opened = gate.get_future().share()] { return opened.wait(), drawn(4, 4); });
    std::vector<std::shared_ptr<ThumbGenerateOpr>> unwanted;
    Texts said;
    for (int i = 0; i < 1212; ++i)
        unwanted.push_back(manager().generate_thumb(
            at("a.x"), {}, {}, [&](const auto& status) { said.push_back(text_of(status)); }));
    for (const auto& operation : unwanted)
        operation->cancel();
    const int begun = generator->count();
    const auto wanted = statuses_of<ThumbGenerateOpr>([&](auto take) {
        gate.set_value();
        return manager().generate_thumb(at("b.x"), {}, {}, take);
    });
    EXPECT_EQ(texts_of(wanted), Texts{"success 4x4"});
    pump_until([&] { return said.size() == unwanted.size(); });
    EXPECT_EQ(said, Texts(unwanted.size(), "cancelled"));
    // Threads may have been on their way into the generator.
    EXPECT_LE(generator->count(), begun + OrvFileManager::max_threads() + 1);
}

TEST_F(ThumbGenerateTest, browsers_share_a_placeholder_that_can_be_set)
{
    const Picture own = OrvFileBrowser::thumb_placeholder();
    EXPECT_TRUE(own.is_same(DefaultThumbnailGenerator().getThumbnail({})));
    const Picture other = drawn(5, 5);
    OrvFileBrowser::set_thumb_placeholder(other);
    EXPECT_TRUE(OrvFileBrowser::thumb_placeholder().is_same(other));
    OrvFileBrowser::set_thumb_placeholder(own);
    EXPECT_TRUE(OrvThumbnail::singleton().getThumbnail(at("a"), {}, {}).is_placeholder);
}

} // namespace
} // namespace orv::test
