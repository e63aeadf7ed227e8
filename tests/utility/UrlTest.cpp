#include "support/Scratch.hpp"
#include "support/Tree.hpp"

#include <orv/utility/Url.hpp>

#include <filesystem>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

using namespace std::string_literals;

struct TextCase {
    std::string given;
    std::string expected;
};

TEST(Url, is_made_from_text)
{
    const TextCase cases[] = {
        {"", ""},
        {"/", "/"},
        {"//", "/"},
        {"/a/", "/a"},
        {"/a//b//", "/a//b"},
        {"/a/\xff\xfe", "/a/\xff\xfe"},
        {"/a\0b"s, ""},
        {"a/b", std::filesystem::current_path().native() + "/a/b"},
    };
    for (const auto& [given, expected] : cases)
        EXPECT_EQ(Url(given).path(), expected) << given;
}

TEST(Url, standardized_goes_by_the_text)
{
    const TextCase cases[] = {
        {"", ""},
        {"/", "/"},
        {"/..", "/"},
        {"/a/..", "/"},
        {"/../../a", "/a"},
        {"/a//b/./c", "/a/b/c"},
        {"/a/b/../../c", "/c"},
        {"/a/.", "/a"},
        {"/a/..b/...", "/a/..b/..."},
        {"/\xff/../\xfe", "/\xfe"},
    };
    for (const auto& [given, expected] : cases)
        EXPECT_EQ(Url(given).standardized().path(), expected) << given;
}

TEST(Url, resolving_symlinks_follows_what_exists)
{
    const Scratch root;
    make_tree(root.url(), {"real/file=x", "link->real", "dangling->missing/end", "loop->loop",
                           "ping->pong", "pong->ping", "real/up->../link/file", "real/\xff=x"});
    const TextCase cases[] = {
        {"real/file", "real/file"},
        {"link/file", "real/file"},
        {"link/up", "real/file"},
        {"link/\xff", "real/\xff"},
        {"link/missing/deep", "real/missing/deep"},
        {"dangling", "missing/end"},
        {"dangling/deeper", "missing/end/deeper"},
        {"dangling/../link", "missing/link"},
        {"missing/../link/file", "real/file"},
        {"link/../link", "real"},
        {"loop", "loop"},
        {"loop/x", "loop/x"},
        {"ping/../x", "x"},
    };
    for (const auto& [given, expected] : cases)
        EXPECT_EQ((root / given).resolving_symlinks(), root / expected) << given;
    EXPECT_EQ(Url("/").resolving_symlinks(), Url("/"));
    EXPECT_TRUE(Url().resolving_symlinks().empty());
}

TEST(Url, resolving_symlinks_gives_up_on_an_endless_path)
{
    const Scratch root;
    make_tree(root.url(), {"longer->missing/../longer"});
    EXPECT_EQ((root / "longer").resolving_symlinks(), root / "longer");
}

TEST(Url, splits_off_the_extension)
{
    struct Case {
        std::string name, title, extension;
    };
    const Case cases[] = {
        {"a.txt", "a", "txt"},
        {"archive.tar.gz", "archive.tar", "gz"},
        {"a..b", "a.", "b"},
        {"plain", "plain", ""},
        {"a.", "a.", ""},
        {".bashrc", ".bashrc", ""},
        {"..bashrc", "..bashrc", ""},
        {".config.json", ".config", "json"},
        {"..", "..", ""},
        {"\xff.\xfe", "\xff", "\xfe"},
    };
    for (const auto& [name, title, extension] : cases) {
        const Url url = Url("/folder.d").appending(name);
        EXPECT_EQ(url.last_path_component(), name);
        EXPECT_EQ(url.path_extension(), extension) << name;
        EXPECT_EQ(url.deleting_path_extension().path(), "/folder.d/" + title) << name;
    }
    EXPECT_EQ(Url("/").last_path_component(), "/");
    EXPECT_EQ(Url("/").path_extension(), "");
}

TEST(Url, appends_and_drops_names)
{
    EXPECT_EQ(Url("/").appending("a"), Url("/a"));
    EXPECT_EQ(Url("/a").appending("/b/c/"), Url("/a/b/c"));
    EXPECT_EQ(Url("/a").appending(""), Url("/a"));
    EXPECT_TRUE(Url("/a").appending("b\0c"s).empty());
    EXPECT_TRUE(Url().appending("etc").empty());
    EXPECT_EQ(Url("/a//b").deleting_last_path_component(), Url("/a"));
    EXPECT_EQ(Url("/a").deleting_last_path_component(), Url("/"));
    EXPECT_EQ(Url("/").deleting_last_path_component(), Url("/"));
    EXPECT_TRUE(Url().deleting_last_path_component().empty());
    EXPECT_EQ(Url("/a//b").components(), (std::vector<std::string>{"/", "a", "b"}));
}

TEST(Url, relative_path_compares_whole_names)
{
    struct Case {
        std::string url, base;
        std::optional<std::string> expected;
    };
    const Case cases[] = {
        {"/a/b/c", "/a", "b/c"},
        {"/a", "/a", ""},
        {"/a/", "/a/.", ""},
        {"/a/b", "/", "a/b"},
        {"/", "/", ""},
        {"/ab", "/a", std::nullopt},
        {"/a", "/ab", std::nullopt},
        {"/a", "/a/b", std::nullopt},
        {"/a/../b", "/a", std::nullopt},
        {"/a//b/../c", "/a", "c"},
        {"", "/", std::nullopt},
        {"/a", "", std::nullopt},
    };
    for (const auto& [url, base, expected] : cases)
        EXPECT_EQ(relative_path(url, base), expected) << url << " against " << base;
}

TEST(Url, is_made_from_a_uri)
{
    const TextCase cases[] = {
        {"file:///a/b%20c", "/a/b c"},
        {"FILE://localhost/a", "/a"},
        {"file:/a", "/a"},
        {"file:///%ff%C3%a4/?x#y", "/\xff\xc3\xa4"},
        {"file:///", "/"},
        {"file://server/a", ""},
        {"file:a", ""},
        {"file:///a%", ""},
        {"file:///a%2", ""},
        {"file:///a%zz", ""},
        {"file:///a%00b", ""},
        {"http:///a", ""},
        {"/a", ""},
        {"", ""},
    };
    for (const auto& [given, expected] : cases) {
        const auto url = Url::from_uri(given);
        EXPECT_EQ(url ? url->path() : "", expected) << given;
        EXPECT_TRUE(!url || Url::from_uri(url->description()) == url) << given;
    }
}

TEST(Url, description_is_percent_encoded)
{
    const TextCase cases[] = {
        {"/", "file:///"},
        {"/a b/c%d", "file:///a%20b/c%25d"},
        {"/Ünï", "file:///%C3%9Cn%C3%AF"},
        {"/\xff?#\n", "file:///%FF%3F%23%0A"},
        {"/it's (1).txt", "file:///it's%20(1).txt"},
    };
    for (const auto& [given, expected] : cases)
        EXPECT_EQ(Url(given).description(), expected);
}

TEST(Url, is_empty_when_the_current_folder_is_gone)
{
    const auto vanish_and_ask = [] {
        const Scratch gone;
        std::filesystem::current_path(gone.url());
        std::filesystem::remove(gone.url());
        std::exit(Url("relative").empty() && Url("/absolute") == "/absolute" ? 0 : 1);
    };
    EXPECT_EXIT(vanish_and_ask(), testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace orv::test
