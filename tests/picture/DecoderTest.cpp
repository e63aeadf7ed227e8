#include "picture/Decoder.hpp"

#include "picture/Media.hpp"
#include "support/Scratch.hpp"
#include "support/Tree.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

const std::string ffmpeg = "ffmpeg -v error -y ";

DecodedPicture decoded(const Url& file, Medium medium, SizeWanted wanted)
{
    try {
        return decode_picture(file, medium, wanted);
    } catch (const Error& error) {
        ADD_FAILURE() << file.path() << ": " << error.sentence() << ' ' << error.reason();
        return {};
    }
}

TEST(Decoder, reads_every_format_of_pictures_by_what_is_in_it)
{
    if (lacks_tools())
        GTEST_SKIP();
    const Scratch root;
    write_file(root / "a.png", text_of(quarters(640, 480, upright).png()));
    for (const char* name : {"a.jpg", "a.jpeg", "a.tiff", "a.gif", "a.heic", "a.webp", "a.avif",
                             "a16.png", "p3.png", "cmyk.jpg"}) {
        const std::string file = name;
        const std::string command = file == "a16.png"  ? "vips cast a.png a16.png ushort --shift"
                                    : file == "p3.png" ? "vips icc_export a.png p3.png "
                                                         "--output-profile p3"
                                    : file == "cmyk.jpg"
                                        ? "vips icc_export a.png c.tiff "
                                          "--output-profile cmyk && "
                                          "vips icc_transform c.tiff t.tiff srgb && "
                                          "vips copy c.tiff cmyk.jpg"
                                        : "vips copy a.png " + file;
        run_in(root.url(), command + " 2>/dev/null");
    }
    run_in(root.url(), ffmpeg + "-i a.png a.bmp");
    run_in(root.url(), "cp a.png png.jpg && cp a.jpg 'jpg.tiff' && ln -s a.png link");

    for (const char* name : {"a.png", "a.jpg", "a.jpeg", "a.tiff", "a.gif", "a.heic", "a.bmp",
                             "a.webp", "a.avif", "a16.png", "png.jpg", "jpg.tiff", "link"}) {
        for (const auto& [wanted, size] :
             {std::pair{SizeWanted{240, {}}, PictureSize{240, 180}},
              {SizeWanted{}, PictureSize{640, 480}},
              {SizeWanted{31, 170}, PictureSize{31, 170}},
              {SizeWanted{1000, {}}, PictureSize{1000, 750}},
              {SizeWanted{0, {}}, PictureSize{640, 480}},
              {SizeWanted{4'000'000'000, {}}, PictureSize{640, 480}}}) {
            const auto [picture, full] = decoded(root / name, Medium::image, wanted);
            EXPECT_EQ(full, (PictureSize{640, 480})) << name;
            EXPECT_EQ((PictureSize{picture.width(), picture.height()}), size) << name;
            EXPECT_TRUE(shows(picture, upright)) << name << ' ' << size.width;
        }
    }
    EXPECT_FALSE(decoded(root / "p3.png", Medium::image, {240, {}}).picture.is_empty());
    EXPECT_FALSE(decoded(root / "cmyk.jpg", Medium::image, {240, {}}).picture.is_empty());
}

std::string little_endian(std::uint32_t number)
{
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8)
        bytes += static_cast<char>(number >> shift & 0xFF);
    return bytes;
}

/// A BMP picture of 64 by 48 in quarters, each line of them a run of one colour.
std::string bmp_with_runs(char bits)
{
    std::string palette, runs;
    for (const Colour& colour : upright)
        for (const int channel : {2, 1, 0, 3})
            palette += channel < 3 ? static_cast<char>(colour[std::size_t(channel)]) : '\0';
    // Rows run from below; in the smaller kind a byte holds two pixels.
    for (int row = 0; row < 48; ++row)
        for (const int colour : {row < 24 ? 2 : 0, row < 24 ? 3 : 1, -1})
            runs += colour < 0
                        ? std::string(2, '\0')
                        : ' ' + std::string(1, static_cast<char>(bits == 8 ? colour : colour * 17));
    runs += std::string(1, '\0') + '\1';
    const auto pixels_at = static_cast<std::uint32_t>(54 + palette.size());
    const auto size = static_cast<std::uint32_t>(runs.size());
    return "BM" + little_endian(pixels_at + size) + little_endian(0) + little_endian(pixels_at) +
           little_endian(40) + little_endian(64) + little_endian(48) + '\1' + '\0' + bits + '\0' +
           little_endian(bits == 8 ? 1 : 2) + little_endian(size) + little_endian(0) +
           little_endian(0) + little_endian(4) + little_endian(0) + palette + runs;
}

TEST(Decoder, reads_bmp_pictures_with_runs_of_a_colour)
{
    const Scratch root;
    for (const char bits : {'\x08', '\x04'}) {
        const std::string bytes = bmp_with_runs(bits);
        write_file(root / "a.bmp", bytes);
        const auto [picture, full] = decoded(root / "a.bmp", Medium::image, {32, {}});
        EXPECT_EQ(full, (PictureSize{64, 48}));
        EXPECT_TRUE(shows(picture, upright)) << int(bits);
        write_file(root / "half.bmp", bytes.substr(0, bytes.size() * 2 / 3));
        EXPECT_THROW(static_cast<void>(decode_picture(root / "half.bmp", Medium::image, {32, {}})),
                     Error);
    }
}

TEST(Decoder, keeps_what_is_transparent)
{
    const Scratch root;
    const Picture half(2, 1, {255, 0, 0, 255, 0, 0, 0, 0});
    write_file(root / "a.png", text_of(half.scale_image(200, 100)->png()));
    const Picture picture = decoded(root / "a.png", Medium::image, {20, {}}).picture;
    EXPECT_EQ(picture.rgba()[3], 255);
    EXPECT_EQ(picture.rgba()[19 * 4 + 3], 0);
    EXPECT_GE(picture.rgba()[8 * 4], 250) << "a colour that cannot be seen was mixed in";
}

/// What is seen of the upright quarters when they are said to be turned.
struct TurnCase {
    char orientation;
    Quarters colours;
};

const TurnCase turn_cases[] = {
    {1, {red, green, blue, white}}, {2, {green, red, white, blue}}, {3, {white, blue, green, red}},
    {4, {blue, white, red, green}}, {5, {red, blue, green, white}}, {6, {blue, red, white, green}},
    {7, {white, green, blue, red}}, {8, {green, white, red, blue}},
};

TEST(Decoder, turns_pictures_upright)
{
    const Scratch root;
    const std::string jpeg = text_of(quarters(640, 320, upright).jpeg(1));
    for (const auto& [orientation, colours] : turn_cases) {
        write_file(root / "a.jpg", with_orientation(jpeg, orientation));
        const bool is_on_side = orientation > 4;
        for (const SizeWanted wanted : {SizeWanted{100, {}}, SizeWanted{}, SizeWanted{60, 50}}) {
            const auto [picture, full] = decoded(root / "a.jpg", Medium::image, wanted);
            EXPECT_EQ(full, (is_on_side ? PictureSize{320, 640} : PictureSize{640, 320}));
            EXPECT_EQ((PictureSize{picture.width(), picture.height()}),
                      delivered_size(full, wanted));
            EXPECT_TRUE(shows(picture, colours)) << int(orientation);
        }
    }
}

TEST(Decoder, draws_the_first_page_of_a_pdf_on_white)
{
    const Scratch root;
    write_file(root / "a.pdf", pdf_page("120", "60"));
    struct Case {
        SizeWanted wanted;
        PictureSize size;
    };
    for (const auto& [wanted, size] :
         {Case{{}, {240, 120}}, Case{{480, {}}, {480, 240}}, Case{{100, 100}, {100, 100}}}) {
        const auto [picture, full] = decoded(root / "a.pdf", Medium::pdf_page, wanted);
        EXPECT_EQ(full, (PictureSize{240, 120}));
        EXPECT_EQ((PictureSize{picture.width(), picture.height()}), size);
        EXPECT_TRUE(shows(picture, {red, white, red, white}));
    }
    write_file(root / "a4.pdf", pdf_page("595", "842"));
    EXPECT_EQ(decoded(root / "a4.pdf", Medium::pdf_page, {}).full_size, (PictureSize{240, 340}));
}

/// What a node of the pages and the page in it say of its boxes, and what is seen of a medium of
/// 120 by 60, its left half red.
struct CropCase {
    std::string node, page;
    PictureSize full;
    Quarters colours;
};

TEST(Decoder, shows_the_whole_medium_of_a_page_that_is_cropped)
{
    const Scratch root;
    const Quarters left_red{red, white, red, white};
    const std::string medium = "/MediaBox [0 0 120 60] ";
    for (const auto& [node, page, full_size, colours] :
         {CropCase{medium, "/CropBox [0 0 60 60]", {240, 120}, left_red},
          {medium + "/CropBox [70 50 30 10] /Rotate 90", "", {240, 480}, {red, red, white, white}},
          {medium + "/CropBox [0 0 60 60]", "/CropBox [-9 -9 999 999]", {240, 120}, left_red},
          {"/MediaBox [0 0 9 9]",
           "/MediaBox [-20 0 140 60] /CropBox [0 0 9 9]",
           {240, 90},
           left_red}}) {
        // One node before it is empty, and one layer of its drawing is hidden.
        const std::string drawing = "1 0 0 rg -20 0 80 60 re f /OC /Layer BDC 0 0 120 60 re f EMC";
        write_file(root / "a.pdf",
                   pdf_of({"<</Type /Catalog /Pages 2 0 R /OCProperties <</OCGs [5 0 R] "
                           "/D <</OFF [5 0 R]>>>>>>",
                           "<</Type /Pages /Kids [6 0 R 3 0 R] /Count 1 "
                           "/Resources <</Properties <</Layer 5 0 R>>>> " +
                               node + ">>",
                           "<</Type /Page /Parent 2 0 R /Contents 4 0 R " + page + ">>",
                           pdf_drawing(drawing), "<</Type /OCG /Name (Layer)>>",
                           "<</Type /Pages /Parent 2 0 R /Kids [] /Count 0>>"}));
        const auto [picture, full] = decoded(root / "a.pdf", Medium::pdf_page, {});
        EXPECT_EQ(full, full_size) << node << page;
        EXPECT_TRUE(shows(picture, colours)) << node << page;
    }
}

TEST(Decoder, draws_text_in_fonts_that_the_page_does_not_bring)
{
    const Scratch root;
    for (const std::string font : {"Helvetica", "Courier-Bold", "NoSuchFont"}) {
        write_file(
            root / "a.pdf",
            pdf_of({"<</Type /Catalog /Pages 2 0 R>>", "<</Type /Pages /Kids [3 0 R] /Count 1>>",
                    "<</Type /Page /Parent 2 0 R /MediaBox [0 0 60 60] /Contents 4 0 R "
                    "/Resources <</Font <</F <</Type /Font /Subtype /Type1 /BaseFont /" +
                        font + ">>>>>>>>",
                    pdf_drawing("BT /F 90 Tf 5 5 Td (M) Tj ET")}));
        const Picture page = decoded(root / "a.pdf", Medium::pdf_page, {}).picture;
        ASSERT_FALSE(page.is_empty());
        EXPECT_LT(*std::min_element(page.rgba().begin(), page.rgba().end()), 64) << font;
    }
}

/// A film whose frame N has the brightness 8 N, and the brightness of the frame that is wanted.
struct FilmCase {
    const char* what;
    std::string options;
    int frame;
};

/// A drawing of the quarters, with more on top.
std::string svg_of(const std::string& attributes, const std::string& more = {})
{
    return "<svg xmlns='http://www.w3.org/2000/svg' " + attributes +
           "><rect width='20' height='10' fill='red'/>"
           "<rect x='20' width='20' height='10' fill='lime'/>"
           "<rect y='10' width='20' height='10' fill='blue'/>"
           "<rect x='20' y='10' width='20' height='10' fill='white'/>" +
           more + "</svg>";
}

TEST(Decoder, draws_a_vector_drawing_and_nothing_from_outside)
{
    const Scratch root;
    const Picture white_one = quarters(8, 8, {white, white, white, white});
    write_file(root / "white.png", text_of(white_one.png()));
    const auto image = [](const std::string& at) {
        return "<image width='40' height='20' href='" + at + "'/>";
    };
    const std::string bounds = "width='40' height='20'";
    for (const std::string& drawing :
         {svg_of(bounds), svg_of("viewBox='0 0 40 20'"),
          svg_of("width='4' height='2' viewBox='0 0 40 20'"), svg_of(bounds, image("white.png")),
          svg_of(bounds, image((root / "white.png").path())),
          svg_of(bounds, image((root / "white.png").description()))}) {
        write_file(root / "a.svg", drawing);
        const auto [picture, full] = decoded(root / "a.svg", Medium::drawing, {480, {}});
        EXPECT_EQ(full, (PictureSize{240, 120})) << drawing;
        EXPECT_EQ(picture.width(), 480U);
        EXPECT_TRUE(shows(picture, upright)) << drawing;
    }
    const auto with_text = [&](const std::string& text) {
        write_file(root / "a.svg", svg_of(bounds, "<text y='15'>" + text + "</text>"));
        return decoded(root / "a.svg", Medium::drawing, {}).picture;
    };
    const Picture word = with_text("II"), other = with_text("OO"); // boxes, without a font
    EXPECT_FALSE(std::ranges::equal(word.rgba(), other.rgba()));
}

TEST(Decoder, takes_the_very_frame_at_a_third_of_a_film)
{
    if (lacks_tools())
        GTEST_SKIP();
    const std::string frames =
        "-f lavfi -i color=black:s=64x48:r=10:d=3,geq=lum=N*8:cb=128:cr=128 ";
    const std::string sound = "-f lavfi -i sine=d=9 ";
    const FilmCase cases[] = {
        {"frames that need later ones", "-c:v libx264 -g 30 -bf 3 -qp 2 a.mp4", 10},
        {"a film in pieces", "-c:v libx264 -g 4 -bf 0 -qp 2 -movflags frag_keyframe a.mov", 10},
        {"an older kind", "-c:v mpeg4 -q:v 1 -g 12 -bf 2 a.mp4", 10},
        {"sound that goes on", sound + "-c:v libx264 -g 30 -bf 3 -qp 2 a.mp4", 29},
        {"a start that was cut off",
         "-c:v libx264 -g 30 -bf 2 -qp 2 b.mp4 && " + ffmpeg + "-ss 0.6 -i b.mp4 -c copy a.mp4",
         14},
        {"a time between two frames", "-frames:v 20 -c:v libx264 -g 30 -bf 3 -qp 2 a.mp4", 6},
        {"the same, with frames that none needs", "-frames:v 25 -c:v libx264 -bf 16 -qp 2 a.mp4",
         8},
    };
    for (const auto& [what, options, frame] : cases) {
        const Scratch root;
        run_in(root.url(), ffmpeg + frames + options);
        const bool is_mov = options.ends_with("mov");
        const auto [picture, full] =
            decoded(root / (is_mov ? "a.mov" : "a.mp4"), Medium::film_frame, {32, {}});
        ASSERT_FALSE(picture.is_empty()) << what;
        EXPECT_EQ(full, (PictureSize{64, 48})) << what;
        const double brightness = picture.rgba()[(12 * 32 + 16) * 4];
        EXPECT_NEAR(brightness / 255 * 219 / 8 + 2, frame, 0.45) << what;
    }
}

TEST(Decoder, shows_films_upright_in_their_shape_and_colours)
{
    if (lacks_tools())
        GTEST_SKIP();
    const Scratch root;
    write_file(root / "a.png", text_of(quarters(320, 160, upright).png()));
    const std::string film = ffmpeg + "-loop 1 -i a.png -t 1 -pix_fmt yuv420p ";
    const std::string cover = ffmpeg + "-f lavfi -i sine=d=1 -i a.png -map 0 -map 1 -c:v png "
                                       "-disposition:v attached_pic -f ";
    struct Case {
        std::string what, command;
        PictureSize full;
        Quarters colours;
    };
    const auto turned = [&](const char* angle) {
        return film + "b.mp4 && " + ffmpeg + "-i b.mp4 -c copy -metadata:s:v rotate=" + angle +
               " a.mp4";
    };
    const Case cases[] = {
        {"untagged", film + "a.mp4", {320, 160}, upright},
        {"new colours",
         film + "-vf scale=out_color_matrix=bt709 -colorspace bt709 a.mp4",
         {320, 160},
         upright},
        {"full range",
         film + "-vf scale=out_range=full -color_range pc a.mp4",
         {320, 160},
         upright},
        {"oblong pixels", film + "-vf setsar=2 a.mp4", {640, 160}, upright},
        {"turned left", turned("90"), {160, 320}, {green, white, red, blue}},
        {"turned over", turned("180"), {320, 160}, {white, blue, green, red}},
        {"turned right", turned("270"), {160, 320}, {blue, red, white, green}},
        {"a sound with a cover", cover + "ipod a.mp4", {320, 160}, upright},
        {"MP3 with a cover", cover + "mp3 a.mp4", {320, 160}, upright},
        {"FLAC with a cover", cover + "flac a.mp4", {320, 160}, upright},
        {"WebM", film + "-c:v libvpx -f webm a.mp4", {320, 160}, upright},
        {"Matroska", film + "-f matroska a.mp4", {320, 160}, upright},
    };
    for (const auto& [what, command, full_size, colours] : cases) {
        run_in(root.url(), command);
        for (const SizeWanted wanted : {SizeWanted{120, {}}, SizeWanted{}, SizeWanted{2, 3}}) {
            const auto [picture, full] = decoded(root / "a.mp4", Medium::film_frame, wanted);
            EXPECT_EQ(full, full_size) << what;
            EXPECT_EQ((PictureSize{picture.width(), picture.height()}),
                      delivered_size(full, wanted));
            EXPECT_TRUE(wanted.height || shows(picture, colours)) << what;
        }
    }
}

} // namespace
} // namespace orv::test
