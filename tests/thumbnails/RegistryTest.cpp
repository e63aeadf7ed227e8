#include "support/Engine.hpp"
#include "support/Statuses.hpp"
#include "thumbnails/DrawnPicture.hpp"

#include <filesystem>
#include <stdexcept>
#include <thread>

namespace orv::test {
namespace {

using Side = std::optional<std::uint32_t>;

class RegistryTest : public EngineTest {
protected:
    RegistryTest() { make_tree(folder(), {"a=1", "a.x=1", "B.X=1", "c.tar.x=1", "a.y=1", "x=1"}); }
    ~RegistryTest() override
    {
        registry().set_image_quality(1);
        registry().set_cache_size(std::size_t{64} << 20);
    }

    static OrvThumbnail& registry() { return OrvThumbnail::singleton(); }

    std::string made(std::string_view name, Side width, Side height) const
    {
        const auto [thumb, is_placeholder] = registry().getThumbnail(at(name), width, height);
        return text_of(ThumbGenerateOpr::success{thumb, is_placeholder});
    }
};

TEST_F(RegistryTest, picks_the_generator_by_the_extension)
{
    const auto x = add_drawing({"X"}, [] { return drawn(40, 20); });
    const Picture placeholder = DefaultThumbnailGenerator().getThumbnail({});
    const std::string own_size =
        std::to_string(placeholder.width()) + "x" + std::to_string(placeholder.height());
    const struct {
        const char* name;
        Side width;
        Side height;
        std::string made;
    } rows[] = {
        {"a.x", {}, {}, "success 40x20"},
        {"a.x", 20, {}, "success 20x10"},
        {"a.x", {}, 5, "success 10x5"},
        {"a.x", 30, 50, "success 30x50"},
        {"a.x", 1, {}, "success 1x1"},
        {"a.x", 0, {}, "success 40x20"},
        {"a.x", 4'000'000'000, 4'000'000'000, "success 40x20"},
        {"B.X", 4, {}, "success 4x2"},
        {"c.tar.x", 4, {}, "success 4x2"},
        {"missing.x", 4, {}, "success 4x2"},
        {"a", 30, 20, "placeholder 30x20"},
        {"x", 30, 20, "placeholder 30x20"},
        {"a.y", 30, 20, "placeholder 30x20"},
        {"a.y", {}, {}, "placeholder " + own_size},
        {"", 3, 3, "placeholder 3x3"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(made(row.name, row.width, row.height), row.made) << row.name;
    add_drawing({"x"}, [] { return drawn(8, 8); });
    EXPECT_EQ(made("a.x", {}, {}), "success 8x8");
}

TEST_F(RegistryTest, lowers_extensions_by_unicode_rules_and_refuses_no_generator)
{
    add_drawing({"ÄÉЖ", "\xFFx"}, [] { return drawn(40, 20); });
    for (const char* name : {"a.äéж", "a.Äéж", "a.\xFFX"})
        EXPECT_EQ(made(name, 20, {}), "success 20x10") << name;
    EXPECT_EQ(made("a.\xFEx", 20, 20), "placeholder 20x20");
    EXPECT_TRUE(registry().supportedFiletypes().contains("äéж"));
    EXPECT_THROW(registry().addThumbnailGenerator(nullptr), Error);
}

TEST_F(RegistryTest, shows_the_placeholder_for_whatever_a_generator_does_wrong)
{
    const std::pair<const char*, std::function<Picture()>> rows[] = {
        {"throws an error", []() -> Picture { throw Error("No."); }},
        {"throws anything", []() -> Picture { throw 7; }},
        {"has no picture", [] { return Picture(); }},
        {"has the placeholder", [] { return DefaultThumbnailGenerator().getThumbnail({}); }},
    };
    for (const auto& [what, draw] : rows) {
        const auto generator = add_drawing({"x"}, draw);
        EXPECT_EQ(made("a.x", 10, 10), "placeholder 10x10") << what;
        EXPECT_EQ(made("a.x", 10, 10), "placeholder 10x10") << what;
        EXPECT_EQ(generator->count(), 2) << what;
    }
}

/// Draws small pictures of a large one, with the sizes that it is asked for.
class ShrinkingGenerator final : public DrawingGenerator {
public:
    ShrinkingGenerator() : DrawingGenerator({"x"}, [] { return drawn(1000, 333); }) {}

    [[nodiscard]] Preview preview(const Url& /*url*/, Side width, Side /*height*/) const override
    {
        return {drawn(*width, 50), 1000, 333};
    }
};

TEST_F(RegistryTest, the_size_follows_from_the_whole_picture)
{
    registry().addThumbnailGenerator(std::make_shared<ShrinkingGenerator>());
    EXPECT_EQ(made("a.x", 100, {}), "success 100x33");
}

TEST_F(RegistryTest, recompresses_below_the_best_quality_only)
{
    const Picture noisy = [] {
        std::vector<std::uint8_t> rgba(64 * 64 * 4, 255);
        for (std::size_t i = 0; i < rgba.size(); ++i)
            rgba[i] = i % 4 == 3 ? 255 : static_cast<std::uint8_t>(i * 7919 >> 3);
        return Picture(64, 64, std::move(rgba));
    }();
    add_drawing({"x"}, [&] { return noisy; });
    add_drawing({"y"}, [] { return drawn(70'000, 1); });
    EXPECT_TRUE(registry().getThumbnail(at("a.x"), {}, {}).thumb.is_same(noisy));
    registry().set_image_quality(0.3);
    const Picture rough = registry().getThumbnail(at("a.x"), {}, {}).thumb;
    EXPECT_FALSE(std::ranges::equal(rough.rgba(), noisy.rgba()));
    EXPECT_EQ(made("a.y", {}, {}), "success 70000x1");
    EXPECT_EQ(made("a", 5, 5), "placeholder 5x5");
}

TEST_F(RegistryTest, makes_a_thumbnail_again_only_when_something_has_changed)
{
    auto generator = add_drawing({"x"}, [] { return drawn(40, 20); });
    const auto times_made = [&](const std::function<void()>& change) {
        const int before = generator->count();
        change();
        made("a.x", 20, {});
        made("a.x", 20, {});
        return generator->count() - before;
    };
    const std::tuple<const char*, int, std::function<void()>> rows[] = {
        {"the first time", 1, [] {}},
        {"unchanged", 0, [] {}},
        {"another content", 1, [&] { write_file(at("a.x"), "22"); }},
        {"another time", 1,
         [&] { std::filesystem::last_write_time(at("a.x"), std::filesystem::file_time_type{}); }},
        {"another file in its place", 1,
         [&] {
             write_file(at("n"), "33");
             std::filesystem::last_write_time(at("n"), std::filesystem::file_time_type{});
             std::filesystem::rename(at("n"), at("a.x"));
         }},
        {"another quality", 1, [] { registry().set_image_quality(0.5); }},
        {"the quality as before", 0, [] { registry().set_image_quality(1); }},
        {"gone", 2, [&] { std::filesystem::remove(at("a.x")); }},
        {"nothing is kept", 2,
         [&] {
             write_file(at("a.x"), "4");
             registry().set_cache_size(0);
         }},
    };
    for (const auto& [what, times, change] : rows)
        EXPECT_EQ(times_made(change), times) << what;

    registry().set_cache_size(1 << 20);
    EXPECT_EQ(times_made([] {}), 1);
    generator = add_drawing({"x"}, [] { return drawn(40, 20); });
    EXPECT_EQ(times_made([] {}), 1) << "another generator";
}

TEST_F(RegistryTest, keeps_those_asked_for_last_within_the_limit)
{
    const auto generator = add_drawing({"x"}, [] { return drawn(100, 100); });
    registry().set_cache_size(0);
    registry().set_cache_size(420'000); // ten of them, and their keys
    const auto has = [&](std::uint32_t height) {
        const int before = generator->count();
        made("a.x", 100, height);
        return generator->count() == before;
    };
    for (std::uint32_t height = 90; height < 100; ++height)
        EXPECT_FALSE(has(height));
    EXPECT_TRUE(has(90));
    EXPECT_FALSE(has(100));
    EXPECT_FALSE(has(101));
    EXPECT_TRUE(has(90));
    EXPECT_TRUE(has(101));
    EXPECT_FALSE(has(91)) << "the one not asked for for the longest time";
    EXPECT_FALSE(has(1000));
    EXPECT_FALSE(has(1000)) << "too large to be kept";
    EXPECT_TRUE(has(90));
}

TEST_F(RegistryTest, may_be_used_while_generators_are_added)
{
    std::atomic<bool> stop = false;
    std::thread reader([&] {
        while (!stop)
            made("a.x", 3, 3);
    });
    for (int i = 0; i < 300; ++i) {
        const auto generator = std::make_shared<DrawingGenerator>(
            std::vector<std::string>{"x", "y"}, [] { return drawn(4, 4); });
        registry().addThumbnailGenerator(generator);
        EXPECT_EQ(registry().supportedFiletypes().at("x"), generator);
    }
    stop = true;
    reader.join();
}

TEST_F(RegistryTest, damaged_files_of_known_kinds_yield_the_placeholder)
{
    const Picture picture = drawn(60, 30);
    const auto png = picture.png();
    const std::string content(reinterpret_cast<const char*>(png.data()), png.size());
    write_file(at("good.PNG"), content);
    EXPECT_EQ(made("good.PNG", 30, {}), "success 30x15");
    EXPECT_EQ(made("missing.png", 8, 8), "placeholder 8x8");
    for (const char* extension : {"png", "jpg", "jpeg", "heic", "tiff", "gif", "bmp", "pdf"}) {
        const std::string name = std::string("bad.") + extension;
        write_file(at(name), "no picture");
        EXPECT_EQ(made(name, 8, 8), "placeholder 8x8") << extension;
    }
    for (const char* extension : {"mov", "m4a", "mp4"}) {
        const std::string name = std::string("bad.") + extension;
        write_file(at(name), "no film");
        testing::internal::CaptureStderr();
        EXPECT_EQ(made(name, 8, 8), "placeholder 8x8") << extension;
        EXPECT_TRUE(testing::internal::GetCapturedStderr().starts_with("ERROR: ")) << extension;
    }
}

} // namespace
} // namespace orv::test
