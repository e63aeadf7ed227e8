#include "Misc/FileItem.hpp"

#include "support/Scratch.hpp"
#include "support/Tree.hpp"

#include <orv/Misc/FileItem.hpp>
#include <orv/utility/Error.hpp>

#include <cerrno>
#include <ctime>

#include <fcntl.h>
#include <gtest/gtest.h>

namespace orv::test {
namespace {

using namespace std::chrono_literals;

struct statx facts_of(const Url& url)
{
    struct statx facts {};
    EXPECT_EQ(::statx(AT_FDCWD, url.path().c_str(), AT_SYMLINK_NOFOLLOW, item_facts_mask, &facts),
              0);
    return facts;
}

std::string line(const FileItem& item)
{
    std::string text = item.name + "|" + item.title + "|" + item.ext + "|";
    text += item.size ? std::to_string(*item.size) : "-";
    text += item.is_dir ? " dir" : "";
    text += item.is_package ? " package" : "";
    text += item.is_plain_dir() ? " plain" : "";
    text += item.is_hidden ? " hidden" : "";
    return text;
}

struct ItemCase {
    std::string entry;
    std::string name;
    std::string expected;
    std::string resolved = {}; ///< where it differs from the name
};

const ItemCase item_cases[] = {
    {"a.txt=four", "a.txt", "a.txt|a|txt|4"},
    {"empty=", "empty", "empty|empty||0"},
    {"archive.tar.gz=x", "archive.tar.gz", "archive.tar.gz|archive.tar|gz|1"},
    {"trailing.=x", "trailing.", "trailing.|trailing.||1"},
    {".profile=x", ".profile", ".profile|.profile||1 hidden"},
    {"\xff.\xfe=x", "\xff.\xfe", "\xff.\xfe|\xff|\xfe|1"},
    {"folder.d/", "folder.d", "folder.d|folder|d|- dir plain"},
    {".git/", ".git", ".git|.git||- dir plain hidden"},
    {"Notes.APP/", "Notes.APP", "Notes.APP|Notes|APP|- dir package"},
    {"notes.app=x", "notes.app", "notes.app|notes|app|1"},
    {"link->a.txt", "link", "link|link||-", "a.txt"},
    {"link.app->folder.d", "link.app", "link.app|link|app|-", "folder.d"},
    {"dangling->gone/away", "dangling", "dangling|dangling||-", "gone/away"},
    {"loop->loop", "loop", "loop|loop||-"},
};

TEST(FileItem, describes_what_stands_at_its_location)
{
    const Scratch scratch;
    make_tree(scratch.url(), {"real/", "way->real"});
    for (const ItemCase& row : item_cases)
        make_tree(scratch / "real", {row.entry});
    // Reached through a link, which only the key of the attributes resolves.
    const ItemFolder folder{scratch / "way", scratch / "real", "way", 2};

    for (const ItemCase& row : item_cases) {
        const Url url = scratch / ("way/" + row.name);
        const Url base = scratch.url();
        const bool is_loop = row.name == "loop";
        const Url resolved =
            is_loop ? url : scratch / ("real/" + (row.resolved.empty() ? row.name : row.resolved));
        FileItem item(url, base);
        EXPECT_EQ(line(item), row.expected);
        EXPECT_EQ(item.url, url);
        EXPECT_EQ(item.level, 0);
        EXPECT_EQ(item.relative_path, "way/" + row.name);
        EXPECT_EQ(item.custom_attributes, CustomAttributes{resolved}) << row.name;

        const FileItem walked = file_item(folder, row.name, facts_of(url));
        EXPECT_EQ(line(walked), row.expected);
        EXPECT_EQ(walked.url, item.url);
        EXPECT_EQ(walked.level, 2);
        EXPECT_EQ(walked.relative_path, item.relative_path);
        EXPECT_EQ(walked.creation_date, item.creation_date);
        EXPECT_EQ(walked.modification_date, item.modification_date);
        EXPECT_EQ(walked.custom_attributes, item.custom_attributes) << row.name;
    }
}

TEST(FileItem, is_neither_folder_nor_sized_when_it_is_no_regular_file)
{
    const Scratch scratch;
    ASSERT_EQ(::mkfifo((scratch / "fifo").path().c_str(), 0600), 0);
    EXPECT_EQ(line(FileItem(scratch / "fifo")), "fifo|fifo||-");
    EXPECT_EQ(line(FileItem("/dev/null")), "null|null||-");
    EXPECT_EQ(line(FileItem("/")), "/|/||- dir plain");
}

TEST(FileItem, has_the_dates_of_the_link_itself)
{
    const Scratch scratch;
    make_tree(scratch.url(), {"file=x", "link->file"});
    const std::string path = (scratch / "file").path();
    const timespec times[] = {{0, UTIME_OMIT}, {-5, 250'000'000}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);

    const FileItem file(scratch / "file");
    EXPECT_EQ(file.modification_date, FileItem::Date(-5s + 250ms));
    const FileItem link(scratch / "link");
    EXPECT_GT(link.modification_date, FileItem::Date(0s));
    if (facts_of(scratch / "file").stx_mask & STATX_BTIME) {
        EXPECT_GT(file.creation_date, FileItem::Date(0s)) << "the birth, not the change";
    }
}

TEST(FileItem, takes_what_the_platform_tells_and_no_more)
{
    const ItemFolder folder{"/home/me", "/home/me", "", 1};
    struct statx facts {};
    facts.stx_mask = STATX_TYPE;
    facts.stx_mode = S_IFREG;
    facts.stx_size = 5;
    FileItem item = file_item(folder, "a", facts);
    EXPECT_EQ(item.relative_path, "a");
    EXPECT_EQ(item.size, std::nullopt);
    EXPECT_EQ(item.creation_date, std::nullopt);
    EXPECT_EQ(item.modification_date, std::nullopt);

    facts.stx_mask |= STATX_MTIME | STATX_BTIME;
    facts.stx_mtime.tv_sec = 1LL << 50;
    facts.stx_btime.tv_sec = -(1LL << 50);
    item = file_item(folder, "a", facts);
    EXPECT_EQ(item.modification_date, FileItem::Date::max());
    EXPECT_EQ(item.creation_date, FileItem::Date::min());
}

std::optional<Error> error_of(const std::function<void()>& step)
{
    try {
        step();
    } catch (const Error& error) {
        return error;
    }
    return std::nullopt;
}

TEST(FileItem, an_item_that_cannot_be_described_is_an_error)
{
    const Scratch scratch;
    make_tree(scratch.url(), {"ab/c d=x", "a/"});

    const auto missing = error_of([&] { FileItem(scratch / "missing"); });
    ASSERT_TRUE(missing);
    EXPECT_EQ(missing->code(), ENOENT);
    EXPECT_EQ(missing->path(), scratch / "missing");
    EXPECT_EQ(error_of([] { FileItem{Url()}; })->code(), ENOENT);

    const Url url = scratch / "ab/c d";
    const auto outside = error_of([&] { FileItem(url, scratch / "a"); });
    ASSERT_TRUE(outside);
    EXPECT_EQ(outside->sentence(), "Couldn't create relative path for url: \n" + url.description());
    EXPECT_EQ(outside->message(),
              outside->sentence() + " (src/Misc/FileItem, init(for:base_url:), line 78)");
    EXPECT_EQ(outside->path(), url);

    const auto typeless = error_of([] {
        static_cast<void>(file_item({"/a b", "/a b", "", 1}, "c", {}));
    });
    ASSERT_TRUE(typeless);
    EXPECT_EQ(typeless->message(), "Couldn't extract some resource values for url: \n"
                                   "file:///a%20b/c (src/Misc/FileItem, init(for:base_url:), "
                                   "line 66)");
}

TEST(FileItem, the_list_of_packages_can_be_extended)
{
    const Scratch scratch;
    make_tree(scratch.url(), {"a.Straße/", "b.STRASSE/"});
    EXPECT_TRUE(FileItem(scratch / "a.Straße").is_plain_dir());
    add_package_extensions({"strasse"});
    for (const char* name : {"a.Straße", "b.STRASSE"})
        EXPECT_EQ(FileItem(scratch / name).is_package, true) << name;
}

} // namespace
} // namespace orv::test
