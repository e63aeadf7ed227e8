#include "app/Command.hpp"

#include <orv/picture/Picture.hpp>

#include <span>

namespace orv::test {
namespace {

std::string drawn_png()
{
    const Picture picture(8, 4, std::vector<std::uint8_t>(8 * 4 * 4, 0xC0));
    const auto bytes = picture.png();
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

class ThumbTest : public CommandTest {
protected:
    ThumbTest()
    {
        write_file(at("p.png"), drawn_png());
        make_tree(work(), {"bad.png=no picture", "bad.mp4=no film", "empty.jpg=", "d.png/",
                           "note.txt=1", "taken.png=old"});
        write_file(at("half.png"), drawn_png().substr(0, 60));
    }

    std::string size_of(const char* name)
    {
        const std::string content = read_file(at(name));
        const auto bytes = std::as_bytes(std::span(content));
        const Picture picture = std::string_view(name).ends_with(".png")
                                    ? Picture::from_png(bytes)
                                    : Picture::from_jpeg(bytes);
        return std::to_string(picture.width()) + "x" + std::to_string(picture.height());
    }
};

TEST_F(ThumbTest, MakesThumbnails)
{
    const struct {
        Words options;
        const char* output;
        const char* size;
    } rows[] = {
        {{}, "a.png", "8x4"},
        {{"--width", "4"}, "b.png", "4x2"},
        {{"--height", "8"}, "c.JPG", "16x8"},
        {{"--width", "3", "--height", "5", "--quality", "0.5"}, "d.jpeg", "3x5"},
    };
    for (const auto& row : rows) {
        Words words{"thumb", "p.png", row.output};
        words.insert(words.end(), row.options.begin(), row.options.end());
        const Outcome outcome = orv(words);
        EXPECT_EQ(outcome.err, "");
        EXPECT_EQ(outcome.exit_code, 0);
        ASSERT_EQ(size_of(row.output), row.size) << row.output;
    }
}

TEST_F(ThumbTest, SaysWhyThereIsNoThumbnailAndWritesNothing)
{
    const struct {
        Words arguments;
        int exit_code;
        std::string err;
    } rows[] = {
        {{"bad.png", "a.png"},
         1,
         "orv: The picture cannot be read: VipsForeignLoad: source is not in a known format: "
         "$W/bad.png\n"},
        {{"half.png", "a.png"},
         1,
         "orv: The picture cannot be read: vipspng: libpng read error: $W/half.png\n"},
        {{"bad.mp4", "a.png"}, 1, "orv: The file is no film, or damaged: $W/bad.mp4\n"},
        {{"empty.jpg", "a.png"}, 1, "orv: The file is empty: $W/empty.jpg\n"},
        {{"note.txt", "a.png"},
         1,
         "orv: Only files named as one of these kinds have thumbnails: avif, bmp, flac, gif, heic, "
         "jpeg, jpg, m4a, mkv, mov, mp3, mp4, pdf, png, svg, tif, tiff, webm, webp: $W/note.txt\n"},
        {{"d.png", "a.png"}, 1, "orv: A folder has no thumbnail: $W/d.png\n"},
        {{"gone.png", "a.png"},
         1,
         "orv: The file can't be read: $W/gone.png: No such file or directory\n"},
        {{"p.png", "d.png"}, 1, "orv: Data can't be written to a folder: $W/d.png\n"},
        {{"p.png", "taken.png"}, 1, "orv: Destination item already exists: $W/taken.png\n"},
        {{"p.png", "a.gif"}, 2, ""},
        {{"p.png", "a"}, 2, ""},
        {{"p.png", "a.png", "--quality", "0.5"}, 2, ""},
        {{"p.png", "a.jpg", "--quality", "2"}, 2, ""},
        {{"p.png", "a.png", "--width", "0"}, 2, ""},
    };
    const Words before = tree(work());
    for (const auto& row : rows) {
        Words words{"thumb"};
        words.insert(words.end(), row.arguments.begin(), row.arguments.end());
        const Outcome outcome = orv(words);
        EXPECT_EQ(outcome.exit_code, row.exit_code) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        if (!row.err.empty()) {
            EXPECT_EQ(outcome.err, told(row.err));
        }
        EXPECT_EQ(tree(work()), before);
    }
}

} // namespace
} // namespace orv::test
