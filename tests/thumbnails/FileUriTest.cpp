#include "ThumbGenerator/FileUri.hpp"

#include <gtest/gtest.h>
#if __has_include(<glib.h>)
#include <glib.h>
#endif

namespace orv::test {
namespace {

TEST(FileUri, is_escaped)
{
    EXPECT_EQ(file_uri("/a b;c/\xC3\xBC(#)"), "file:///a%20b%3Bc/%C3%BC(%23)");
}

#if __has_include(<glib.h>)

std::string every_byte()
{
    std::string name;
    for (int byte = 1; byte < 256; ++byte)
        name += static_cast<char>(byte);
    return name;
}

TEST(FileUri, escapes_as_glib_does)
{
    const std::string names[] = {
        "plain.png",
        "a b",
        "100%",
        "a%20b",
        "#1",
        "what?",
        "a;b",
        "a&b+c='d'!",
        "~[x]{y}(z)|^`\"",
        "gr\xC3\xBC\xC3\x9F",
        "\xFF\xFE",
        "new\nline",
        "a:b@c,d$e*f",
        "\\<>",
        every_byte(),
    };
    for (const std::string& name : names) {
        const std::string path = Url("/folder").appending(name).path();
        gchar* const uri = g_filename_to_uri(path.c_str(), nullptr, nullptr);
        EXPECT_EQ(file_uri(path), uri) << name;
        g_free(uri);
    }
}

#else

TEST(FileUri, escapes_as_glib_does)
{
    GTEST_SKIP() << "GLib was not found.";
}

#endif

} // namespace
} // namespace orv::test
