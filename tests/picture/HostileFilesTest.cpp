#include "picture/Decoder.hpp"
#include "picture/Media.hpp"
#include "support/Scratch.hpp"
#include "support/Tree.hpp"

#include <orv/utility/Error.hpp>

#include <chrono>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace orv::test {
namespace {

using namespace std::string_literals;
using Clock = std::chrono::steady_clock;

constexpr Medium image = Medium::image, page = Medium::pdf_page, film = Medium::film_frame,
                 drawing = Medium::drawing;

/// What becomes of a file: the sentence of the error, or that there was none.
std::string outcome(const Url& file, Medium medium)
{
    try {
        static_cast<void>(decode_picture(file, medium, {240, {}}));
        return "a picture";
    } catch (const Error& error) {
        EXPECT_EQ(error.path(), file);
        return error.sentence();
    }
}

/// The most memory that this process ever had. Units: kibibytes.
long peak_memory()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

struct HostileCase {
    const char* what;
    Medium medium;
    std::string content, sentence;
};

std::string encrypted()
{
    const std::string key(64, '0');
    return "/ID [<00> <00>] /Encrypt <</Filter /Standard /V 1 /R 2 /P -4 /O <" + key + "> /U <" +
           key + ">>>";
}

/// Of a picture 16 wide, with as many colours in its table as the four bytes `colours` say.
std::string bmp_header(char rows, const std::string& colours = std::string(4, '\0'))
{
    return "BM\0\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\x10\0\0\0"s + rows + "\0\0\0\1\0\x18\0"s +
           std::string(16, '\0') + colours + std::string(4, '\0');
}

TEST(HostileFiles, are_errors_within_two_seconds)
{
    const std::string jpeg = text_of(quarters(900, 900, upright).jpeg(0.9));
    const std::string png = text_of(quarters(900, 900, upright).png());
    const std::string no_picture = "The picture cannot be read: ";
    const std::string no_film = "The file is no film, or damaged.";
    const HostileCase cases[] = {
        {"nothing", image, "", "The file is empty."},
        {"text", image, "Dear diary", no_picture},
        {"too many pixels", image, png_header(100'000, 100'000),
         "The picture has more than 200 million pixels."},
        {"sides too long to multiply", image, png_header(0x7FFFFFFF, 0x7FFFFFFF), no_picture},
        {"half a PNG", image, png.substr(0, png.size() / 2), no_picture},
        {"half a JPEG", image, jpeg.substr(0, jpeg.size() / 2), no_picture},
        {"half a BMP", image, bmp_header(100) + std::string(100, 'x'),
         "The BMP picture is incomplete."},
        {"more colours than bytes", image,
         bmp_header(1, std::string(4, '\xFF')) + std::string(100, 'x'),
         "The BMP picture is incomplete."},
        {"a header of three gigabytes", image,
         bmp_header(1).replace(17, 1, "\xB6") + std::string(100, 'x'),
         "The BMP picture is incomplete."},
        {"a vector drawing", image,
         "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>", no_picture},
        {"a picture for a drawing", drawing, png, "The drawing cannot be read: "},
        {"another file in a drawing", drawing,
         "<!DOCTYPE svg [<!ENTITY e SYSTEM 'file:///etc/passwd'>]>"
         "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'><text>&e;</text></svg>",
         "The drawing cannot be read: "},
        {"a drawing of a kilometre", drawing,
         "<svg xmlns='http://www.w3.org/2000/svg' width='4000000' height='9'/>",
         "The drawing is larger"},
        {"a PDF for a picture", image, pdf_page("100", "100"), no_picture},
        {"a picture for a PDF", page, png, "The PDF cannot be read: "},
        {"a page of a kilometre", page, pdf_page("612", "2834645"),
         "The page of the PDF is larger"},
        {"a ribbon", page, pdf_page("10", "14400"), "The page of the PDF is more than a hundred"},
        {"an encrypted PDF", page, pdf_page("100", "100", encrypted()), "The PDF cannot be read: "},
        {"half a PDF", page, pdf_page("100", "100").substr(0, 60), "The PDF cannot be read: "},
        {"a list of films", film, "#EXTM3U\nfile:///etc/passwd\n", no_film},
        {"a picture for a film", film, jpeg, no_film},
        {"a film of nothing", film,
         "\0\0\0\x14"
         "ftypisom\0\0\2\0isom\0\0\0\x08moov"s,
         "The film has no pictures."},
    };
    const Scratch root;
    const long before = peak_memory();
    for (const auto& [what, medium, content, sentence] : cases) {
        write_file(root / "a", content);
        const auto start = Clock::now();
        EXPECT_EQ(outcome(root / "a", medium).substr(0, sentence.size()), sentence) << what;
        EXPECT_LT(Clock::now() - start, std::chrono::seconds(2)) << what;
    }
    EXPECT_LT(peak_memory() - before, 32 * 1024);
}

TEST(HostileFiles, are_never_opened_when_they_are_no_files)
{
    const Scratch root;
    make_tree(root.url(), {"folder/", "dangling->gone"});
    ASSERT_EQ(::mkfifo((root / "pipe").path().c_str(), 0600), 0);
    const std::string no_file = "Only a regular file can be decoded.";
    for (const auto& [name, sentence] : {std::pair{"folder", no_file},
                                         {"pipe", no_file},
                                         {"dangling", std::string("No such file or directory.")}})
        EXPECT_EQ(outcome(root / name, image), sentence);
    EXPECT_EQ(outcome("/dev/zero", film), no_file);
}

TEST(HostileFiles, a_film_that_refers_to_another_file_does_not_reach_it)
{
    if (lacks_tools())
        GTEST_SKIP();
    const Scratch root;
    run_in(root.url(), "ffmpeg -v error -f lavfi -i testsrc=d=1:s=64x64 -c:v mpeg4 a.mp4");
    std::string bytes = read_file(root / "a.mp4");
    // Says "not in this file" of the frames, and names where they are.
    const std::size_t place = bytes.find("url \0\0\0\1"s);
    ASSERT_NE(place, std::string::npos);
    bytes[place + 7] = 0;
    write_file(root / "b.mp4", bytes);
    EXPECT_NE(outcome(root / "b.mp4", film), "");
    write_file(root / "c.mp4", bytes.substr(0, bytes.size() / 3));
    EXPECT_NE(outcome(root / "c.mp4", film), "a picture");
}

} // namespace
} // namespace orv::test
