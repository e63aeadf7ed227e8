#include "ThumbGenerator/FileUri.hpp"
#include "picture/Media.hpp"
#include "picture/PngTexts.hpp"
#include "support/Engine.hpp"
#include "support/Statuses.hpp"
#include "thumbnails/DrawnPicture.hpp"

#include <array>
#include <cstdlib>
#include <filesystem>

#include <fcntl.h>
#include <md5.h>
#include <sys/stat.h>

namespace orv::test {
namespace {

namespace fs = std::filesystem;
using Side = std::optional<std::uint32_t>;
using Texts = picture::PngTexts;

constexpr std::uint8_t own_grey = 90;
constexpr std::uint8_t telltale_grey = 200; ///< of thumbnails that another program made
constexpr std::time_t long_ago = 1'000'000'000;

std::string bytes_of(const Picture& picture, const Texts& texts = {})
{
    const auto png = picture.png(texts);
    return {reinterpret_cast<const char*>(png.data()), png.size()};
}

void set_time(const Url& file, std::time_t seconds)
{
    const timespec time{seconds, 500'000'000};
    const timespec times[] = {time, time};
    ASSERT_EQ(::utimensat(AT_FDCWD, file.path().c_str(), times, 0), 0);
}

/// Uses the folder "cache", with files that were changed long ago.
class SharedFolderTest : public EngineTest {
protected:
    SharedFolderTest()
    {
        ::setenv("XDG_CACHE_HOME", at("cache").path().c_str(), 1);
        registry().set_cache_size(0);
        registry().use_shared_folder(true);
        put_picture("a.png", drawn(400, 300, own_grey));
    }
    ~SharedFolderTest() override
    {
        registry().use_shared_folder(false);
        registry().set_cache_size(std::size_t{64} << 20);
        registry().addThumbnailGenerator(std::make_shared<ImageThumbnailGenerator>());
        ::unsetenv("XDG_CACHE_HOME");
    }

    static OrvThumbnail& registry() { return OrvThumbnail::singleton(); }

    void put_picture(std::string_view name, const Picture& picture) const
    {
        write_file(at(name), bytes_of(picture));
        set_time(at(name), long_ago);
    }

    /// "success 240x180 90", the last of which is the grey of its first pixel.
    std::string made(std::string_view name, Side width, Side height) const
    {
        const auto [thumb, is_placeholder] = registry().getThumbnail(at(name), width, height);
        return text_of(ThumbGenerateOpr::success{thumb, is_placeholder}) + " " +
               std::to_string(thumb.rgba()[0]);
    }

    /// Where the programs of a desktop look for the thumbnail of the file.
    Url place_of(std::string_view name, std::string_view square) const
    {
        const std::string uri = file_uri(at(name));
        std::array<char, MD5_DIGEST_STRING_LENGTH> hex{};
        ::MD5Data(reinterpret_cast<const std::uint8_t*>(uri.data()), uri.size(), hex.data());
        return at("cache/thumbnails").appending(square).appending(hex.data() + std::string(".png"));
    }

    Texts facts_of(std::string_view name) const
    {
        return {{"Thumb::URI", file_uri(at(name))}, {"Thumb::MTime", std::to_string(long_ago)}};
    }

    /// What is shared: "large 256x192" each.
    std::vector<std::string> shared() const
    {
        std::vector<std::string> all;
        for (const fs::path& path : fs::recursive_directory_iterator(at("cache")))
            if (fs::is_regular_file(path)) {
                const std::string content = read_file(path);
                const auto size = picture::png_size(std::as_bytes(std::span(content)));
                all.push_back(path.parent_path().filename().string() + " " +
                              std::to_string(size.width) + "x" + std::to_string(size.height));
            }
        std::sort(all.begin(), all.end());
        return all;
    }
};

TEST_F(SharedFolderTest, shares_the_picture_that_is_large_enough)
{
    fs::copy_file(resource_dir().appending("The-Prince.pdf"), at("a.pdf"));
    set_time(at("a.pdf"), long_ago);
    put_picture("tall.png", drawn(600, 800));
    put_picture("large.png", drawn(1999, 1501));
    put_picture("small.png", drawn(50, 20));
    put_picture("wide.png", drawn(4000, 10));
    write_file(at("bad.png"), "no picture");
    set_time(at("bad.png"), long_ago);
    const std::string bad = made("missing.png", 100, 100);
    const struct {
        const char* name;
        Side width;
        Side height;
        std::string made;
        std::vector<std::string> shared;
    } rows[] = {
        {"a.png", 128, {}, "success 128x96 90", {"normal 128x96"}},
        {"a.png", 240, {}, "success 240x180 90", {"large 256x192"}},
        {"a.png", {}, 240, "success 320x240 90", {"x-large 400x300"}},
        {"a.png", 100, 100, "success 100x100 90", {"large 256x192"}},
        {"tall.png", 240, {}, "success 240x320 90", {"x-large 384x512"}},
        {"large.png", 1000, {}, "success 1000x750 90", {"xx-large 1024x769"}},
        {"large.png", 1025, {}, "success 1025x769 90", {}},
        {"large.png", {}, {}, "success 1999x1501 90", {}},
        {"small.png", 100, {}, "success 100x40 90", {"normal 50x20"}},
        {"wide.png", 100, 100, "success 100x100 90", {}},
        {"a.pdf", 300, {}, "success 300x450 129", {"x-large 341x512"}},
        {"bad.png", 100, 100, bad, {}},
    };
    for (const auto& row : rows) {
        fs::remove_all(at("cache"));
        fs::create_directory(at("cache"));
        const std::string first = made(row.name, row.width, row.height);
        EXPECT_EQ(first, row.made) << row.name;
        EXPECT_EQ(shared(), row.shared) << row.name;
        EXPECT_EQ(made(row.name, row.width, row.height), first) << "now from what is shared";
        EXPECT_EQ(shared(), row.shared) << row.name;
    }
}

TEST_F(SharedFolderTest, shares_the_frame_of_a_film_and_nothing_of_a_sound)
{
    if (lacks_tools())
        GTEST_SKIP();
    run_in(folder(), "ffmpeg -v error -f lavfi -i color=c=white:s=400x300:d=1 a.mp4 && "
                     "ffmpeg -v error -f lavfi -i sine=d=1 b.m4a");
    set_time(at("a.mp4"), long_ago);
    set_time(at("b.m4a"), long_ago);
    fs::create_directory(at("cache"));
    made("b.m4a", 240, {});
    EXPECT_EQ(shared(), std::vector<std::string>{});
    const std::string first = made("a.mp4", 240, {});
    EXPECT_TRUE(first.starts_with("success 240x180 25")) << first;
    EXPECT_EQ(shared(), std::vector<std::string>{"large 256x192"});
    write_file(place_of("a.mp4", "large"),
               bytes_of(drawn(256, 192, telltale_grey), facts_of("a.mp4")));
    EXPECT_EQ(made("a.mp4", 240, {}), "success 240x180 200");
}

TEST_F(SharedFolderTest, says_of_which_file_it_is_and_lets_nobody_else_see_it)
{
    const Url place = place_of("a.png", "large");
    made("a.png", 240, {});
    const std::string content = read_file(place);
    Texts facts = facts_of("a.png");
    facts.insert(facts.end(), {{"Thumb::Size", std::to_string(fs::file_size(at("a.png")))},
                               {"Thumb::Image::Width", "400"},
                               {"Thumb::Image::Height", "300"},
                               {"Software", "orv"}});
    EXPECT_EQ(picture::png_texts(std::as_bytes(std::span(content))), facts);
    for (Url item = place; item != folder(); item = item.deleting_last_path_component())
        EXPECT_EQ(static_cast<unsigned>(fs::status(item).permissions()),
                  item == place ? 0600U : 0700U)
            << item.path();
    EXPECT_EQ(shared().size(), 1U) << "no temporary stays";
}

TEST_F(SharedFolderTest, uses_what_other_programs_made_if_it_is_right)
{
    const Url large = place_of("a.png", "large");
    const Url x_large = place_of("a.png", "x-large");
    const Texts right = facts_of("a.png");
    const auto with = [&](const char* key, const std::string& value) {
        Texts texts = right;
        std::erase_if(texts, [&](const auto& text) { return text.first == key; });
        texts.emplace_back(key, value);
        return texts;
    };
    const auto other = [](std::uint32_t width, std::uint32_t height, const Texts& texts) {
        return bytes_of(drawn(width, height, telltale_grey), texts);
    };
    Texts with_full_size = right;
    with_full_size.insert(with_full_size.end(),
                          {{"Thumb::Image::Width", "400"}, {"Thumb::Image::Height", "300"}});
    Texts not_upright = right;
    not_upright.insert(not_upright.end(),
                       {{"Thumb::Image::Width", "300"}, {"Thumb::Image::Height", "400"}});
    const std::string good = other(256, 192, right);
    const struct {
        const char* what;
        Url place;
        std::string content;
        std::string made_of_it; ///< empty if it is not to be used
    } rows[] = {
        {"right", large, good, "240x180"},
        {"rounded down", large, other(256, 191, right), "240x179"},
        {"rounded down, exact", large, other(256, 191, with_full_size), "240x180"},
        {"not turned upright", large, other(256, 192, not_upright), "240x180"},
        {"of another shape", large, other(256, 256, with_full_size), ""},
        {"of more than is needed", x_large, other(400, 300, right), "240x180"},
        {"of the same file", large, other(256, 192, with("Thumb::Size", "1")), ""},
        {"of another time", large, other(256, 192, with("Thumb::MTime", "1000000001")), ""},
        {"of an odd time", large, other(256, 192, with("Thumb::MTime", "1000000000.5")), ""},
        {"of another file", large, other(256, 192, with("Thumb::URI", "file:///a.png")), ""},
        {"of no file", large, other(256, 192, {}), ""},
        {"too small", large, other(200, 150, right), ""},
        {"too large for its square", large, other(400, 300, right), ""},
        {"cut off", large, good.substr(0, good.size() - 30), ""},
        {"no picture", large, "no picture", ""},
        {"empty", large, "", ""},
        {"of too many bytes", large, good + std::string(std::size_t{8} << 20, 'x'), ""},
    };
    for (const auto& [what, place, content, made_of_it] : rows) {
        fs::remove_all(at("cache"));
        fs::create_directories(place.deleting_last_path_component());
        write_file(place, content);
        const bool is_used = !made_of_it.empty();
        EXPECT_EQ(made("a.png", 240, {}),
                  is_used ? "success " + made_of_it + " 200" : "success 240x180 90")
            << what;
        EXPECT_EQ(read_file(place) == content, is_used)
            << what << ": one that is not right is replaced";
    }

    write_file(at("elsewhere"), good);
    fs::remove(large);
    fs::create_symlink(at("elsewhere"), large);
    EXPECT_EQ(made("a.png", 240, {}), "success 240x180 90") << "a link";
    EXPECT_EQ(read_file(at("elsewhere")), good);
}

TEST_F(SharedFolderTest, a_changed_file_gets_a_new_thumbnail)
{
    EXPECT_EQ(made("a.png", 240, {}), "success 240x180 90");
    put_picture("a.png", drawn(400, 200, 33));
    set_time(at("a.png"), long_ago + 1);
    EXPECT_EQ(made("a.png", 240, {}), "success 240x120 33");
    EXPECT_EQ(shared(), std::vector<std::string>{"large 256x128"});
    write_file(at("new.png"), bytes_of(drawn(30, 30)));
    set_time(at("new.png"), std::time(nullptr) + 1000);
    EXPECT_EQ(made("new.png", 240, {}), "success 240x240 90");
    EXPECT_EQ(shared().size(), 1U) << "it may change again within its second";
}

TEST_F(SharedFolderTest, is_left_alone_where_it_has_no_say)
{
    const Url place = place_of("a.png", "large");
    fs::create_directories(place.deleting_last_path_component());
    write_file(place, bytes_of(drawn(256, 192, telltale_grey), facts_of("a.png")));
    set_time(place, long_ago);
    fs::create_directory_symlink(at("cache"), at("link"));
    for (const char* way : {"cache", "link"})
        EXPECT_EQ(made(way + place.path().substr(at("cache").path().size()), 100, {}),
                  "success 100x75 200");
    EXPECT_EQ(made("./a.png", 240, {}), "success 240x180 90") << "not as others call the file";
    registry().use_shared_folder(false);
    EXPECT_EQ(made("a.png", 240, {}), "success 240x180 90") << "off";
    registry().use_shared_folder(true);
    EXPECT_EQ(made("a.png", 240, {}), "success 240x180 200") << "on";
    add_drawing({"png"}, [] { return drawn(400, 300, 7); });
    EXPECT_EQ(made("a.png", 240, {}), "success 240x180 7") << "an application's generator";
    EXPECT_EQ(shared().size(), 1U);
}

TEST_F(SharedFolderTest, a_folder_that_cannot_be_used_is_no_fault)
{
    write_file(at("cache"), "a file");
    EXPECT_EQ(made("a.png", 240, {}), "success 240x180 90");
    EXPECT_EQ(read_file(at("cache")), "a file");
}

TEST(SharedFolder, is_off_at_first)
{
    const Scratch scratch;
    ::setenv("XDG_CACHE_HOME", scratch.url().path().c_str(), 1);
    write_file(scratch / "a.png", bytes_of(drawn(40, 30)));
    set_time(scratch / "a.png", long_ago);
    (void)OrvThumbnail::singleton().getThumbnail(scratch / "a.png", 20, {});
    ::unsetenv("XDG_CACHE_HOME");
    EXPECT_EQ(tree(scratch.url()).size(), 1U);
}

} // namespace
} // namespace orv::test
