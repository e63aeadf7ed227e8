#include "archive/RawZip.hpp"
#include "archive/ZipCalls.hpp"
#include "support/Scratch.hpp"
#include "support/Tree.hpp"
#include "support/Volume.hpp"
#include "utility/StopWatch.hpp"

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>
#include <sys/resource.h>

namespace orv::test {
namespace {

using Entries = std::vector<RawEntry>;
using Listing = std::vector<std::string>;

constexpr std::uint32_t link = 0120777;
constexpr std::uint32_t folder = 040755;

const char* const outside = "unzip: The archive holds a name that leads outside of it.";
const char* const outside_link = "unzip: The archive holds a link that leads outside of it.";
const char* const two_kinds =
    "unzip: The archive holds a file and a folder of one name, or an item "
    "inside a file or a link.";
const char* const device = "unzip: The archive holds a socket, a pipe or a device.";
const char* const damaged = "unzip: The archive is damaged.";
const char* const overlap = "unzip: The archive's items overlap.";
const char* const no_archive = "unzip: This is no zip archive, or its end is missing.";
const char* const unknown_way =
    "unzip: The archive is packed or encrypted in a way that is not known.";

struct Case {
    const char* name;
    Entries entries;
    std::string outcome;
    Listing after = {};
};

std::string repeated(const char* text, int times)
{
    std::string result;
    for (int i = 0; i < times; ++i)
        result += text;
    return result;
}

/// The most memory that this process ever had.
std::int64_t peak_memory()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return std::int64_t{usage.ru_maxrss} * 1024;
}

/// Each of them stands with a harmless item before it, of which nothing may be left.
const Case refused_archives[] = {
    {"up", {{"../evil", "x"}}, outside},
    {"up inside", {{"a/../../evil", "x"}}, outside},
    {"up and back", {{"a/../b", "x"}}, outside},
    {"up at the end", {{"a/..", "", folder}}, outside},
    {"only up", {{"..", "", folder}}, outside},
    {"absolute", {{"/tmp/evil", "x"}}, outside},
    {"up by backslashes", {{"..\\evil", "x"}}, outside},
    {"up by backslashes from Windows", {{"a\\..\\..\\evil", "x", 0, 0}}, outside},
    {"absolute by a backslash", {{"\\evil", "x"}}, outside},
    {"a share", {{"\\\\server\\share\\evil", "x", 0, 10}}, outside},
    {"a drive", {{"C:/evil", "x"}}, outside},
    {"a drive and a backslash", {{"c:\\evil", "x"}}, outside},
    {"a drive from Windows", {{"C:evil", "x", 0, 0}}, outside},
    {"no name", {{"", "x"}}, outside},
    {"a file that is all there is", {{".", "x"}}, outside},
    {"a NUL",
     {{std::string("a\0b", 3), "x"}},
     "unzip: The archive holds a name that no item can have."},
    {"a long name",
     {{std::string(256, 'n'), "x"}},
     "unzip: The archive holds a name that is too long."},
    {"an item in a link", {{"l", ".", link}, {"l/x", "x"}}, two_kinds},
    {"a link around an item", {{"l/x", "x"}, {"l", ".", link}}, two_kinds},
    {"an item in a file", {{"f", "x"}, {"f/x", "x"}}, two_kinds},
    {"a file and a folder", {{"f", "x"}, {"f/", "", folder}}, two_kinds},
    {"a folder and a file", {{"f/", "", folder}, {"f", "x"}}, two_kinds},
    {"a link without a target", {{"l", "", link}}, damaged},
    {"a link to a NUL", {{"l", std::string("a\0b", 3), link}}, damaged},
    {"a link to a long path", {{"l", std::string(5000, 'n'), link}}, damaged},
    {"a pipe", {{"p", "", 010644}}, device},
    {"a socket", {{"p", "", 0140644}}, device},
    {"a block device", {{"p", "", 060644}}, device},
    {"a character device", {{"p", "", 020644}}, device},
    {"a folder with content", {{"f/", "x", folder}}, damaged},
    {"a wrong checksum", {{"f", "x", 0100644, 3, 0, 0, {}, {}, 7}}, damaged},
    {"a size too large", {{"f", "x", 0100644, 3, 0, 0, 2}}, damaged},
    {"content past the end", {{"f", "x", 0100644, 3, 0, 0, 9000, 9000}}, damaged},
    {"no deflated data", {{"f", "\xFF\xFF\xFF", 0100644, 3, 0, 8, 100}}, damaged},
    {"an unknown method", {{"f", "x", 0100644, 3, 0, 97}}, unknown_way},
    {"strong encryption", {{"f", "x", 0100644, 3, 0x41}}, unknown_way},
    {"no password",
     {{"f", repeated("x", 20).c_str(), 0100644, 3, 1}},
     "unzip: The archive needs a password."},
    {"content for two", {{"f", "x"}, {"g", "x", 0100644, 3, 0, 0, {}, {}, {}, {}, false}}, overlap},
    {"sizes that overflow",
     {{"f", "x", 0100644, 3, 0, 8, 0xFFFFFFFF, {}, {}, extra_field(1, repeated("\xFF", 8))}},
     damaged},
    {"more than is allowed",
     {{"f",
       "x",
       0100644,
       3,
       0,
       8,
       0xFFFFFFFF,
       {},
       {},
       extra_field(1, little_endian(1ULL << 40, 8))}},
     "unzip: The archive unfolds to more than is allowed."},
    {"numbers that are missing",
     {{"f", "x", 0100644, 3, 0, 8, 0xFFFFFFFF, {}, {}, extra_field(1, "")}},
     damaged},
};

TEST(HostileArchives, are_refused_and_harm_nothing)
{
    for (const Case& row : refused_archives) {
        const Scratch root;
        make_tree(root.url(), {"in/", "evil=mine", "etc=mine"});
        Entries entries{{"harmless", "y"}};
        entries.insert(entries.end(), row.entries.begin(), row.entries.end());
        write_file(root / "a.zip", raw_zip(entries));
        EXPECT_EQ(unzip(root / "a.zip", root / "in"), row.outcome) << row.name;
        std::filesystem::remove(root / "in/harmless");
        std::filesystem::remove(root / "a.zip");
        EXPECT_EQ(tree(root.url()), (Listing{"etc=mine", "evil=mine", "in/"})) << row.name;
    }
}

const Case accepted_archives[] = {
    {"duplicates",
     {{"f.txt", "1"}, {"f.txt", "2"}, {"f 2.txt", "3"}, {"f.txt", "4"}, {"f.txt", "l", link}},
     success,
     {"f 2.txt=2", "f 3.txt=3", "f 4.txt=4", "f 5.txt->l", "f.txt=1"}},
    {"links that lead outside",
     {{"l", "/etc", link}, {"a/m", "../../x", link}, {"n", "l/passwd", link}},
     success,
     {"a/", "a/m->../../x", "l->/etc", "n->l/passwd"}},
    {"a folder twice",
     {{"d/x", "1"}, {"d/", "", folder}, {"d/", "", folder}},
     success,
     {"d/", "d/x=1"}},
    {"odd ways to write a path",
     {{"./a//b/./c", "1"}, {"./", "", folder}},
     success,
     {"a/", "a/b/", "a/b/c=1"}},
    {"backslashes from Windows",
     {{"a\\b", "1", 0, 0}, {"d\\", "", 0, 10}},
     success,
     {"a/", "a/b=1", "d/"}},
    {"a backslash and a colon from here",
     {{"a\\b", "1"}, {"c:d", "2"}},
     success,
     {"a\\b=1", "c:d=2"}},
    {"exact names",
     {{"..\\a", "1", 0100644, 3, 0, 0, {}, {}, {}, extra_field(0x766F, "")},
      {"\xFF\x82", "2", 0100644, 3, 0, 0, {}, {}, {}, extra_field(0x766F, "")}},
     success,
     {"..\\a=1", "\xFF\x82=2"}},
    {"links that stay inside",
     {{"a/l", "../b/./x", link}, {"loop", "loop", link}, {"b/x", "1"}, {"m", "none/x", link}},
     success,
     {"a/", "a/l->../b/./x", "b/", "b/x=1", "loop->loop", "m->none/x"}},
};

TEST(OddArchives, are_unpacked)
{
    for (const Case& row : accepted_archives) {
        const Scratch root;
        make_tree(root.url(), {"in/"});
        write_file(root / "a.zip", raw_zip(row.entries, "a comment"));
        EXPECT_EQ(unzip(root / "a.zip", root / "in"), row.outcome) << row.name;
        Listing expected = row.after;
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(tree(root / "in"), expected) << row.name;
    }
}

TEST(HostileArchives, an_archive_cut_or_changed_anywhere_does_no_harm)
{
    const Scratch root;
    const std::string whole =
        raw_zip({{"d/", "", folder}, {"d/f", "content"}, {"l", "d/f", link}}, "comment");
    const Url archive = root / "a.zip";
    for (std::size_t i = 0; i < whole.size(); ++i) {
        const Scratch destination;
        write_file(archive, whole.substr(0, i));
        EXPECT_EQ(unzip(archive, destination.url()), no_archive) << i;
        EXPECT_EQ(tree(destination.url()), Listing{}) << i;

        std::string changed = whole;
        changed[i] = static_cast<char>(changed[i] ^ 0x55);
        write_file(archive, changed);
        static_cast<void>(unzip(archive, destination.url()));
    }
    EXPECT_EQ(tree(root.url()).size(), 1U);
}

TEST(HostileArchives, archives_with_something_before_and_after_are_read)
{
    const Scratch root;
    const std::string archive = raw_zip({{"f", "1"}});
    for (const std::string& bytes :
         {"#!/bin/sh\n" + archive, archive + "\n", "x" + archive + "x"}) {
        const Scratch destination;
        write_file(root / "a.zip", bytes);
        EXPECT_EQ(unzip(root / "a.zip", destination.url()), success);
        EXPECT_EQ(tree(destination.url()), Listing{"f=1"});
    }
}

TEST(HostileArchives, what_does_not_fit_the_volume_is_refused_before_the_first_byte)
{
    const auto volume = Volume::in_memory(256);
    if (!volume)
        GTEST_SKIP() << "this user may mount nothing";
    const Scratch root;
    write_file(root / "a.zip", raw_zip({{"f", "x"}, {"g", std::string(300 * 1024, 'x')}}));
    EXPECT_EQ(unzip(root / "a.zip", volume->url()), "unzip: No space left on device.");
    EXPECT_EQ(tree(volume->url()), Listing{});
}

/// Whatever takes the place of a folder that is being filled.
TEST(HostileArchives, folders_that_are_swapped_meanwhile_lead_nowhere_else)
{
    namespace fs = std::filesystem;
    for (const bool by_link : {true, false}) {
        const Scratch root;
        make_tree(root.url(), {"in/", "victim/mine=1"});
        Entries entries{{"d/", "", folder}};
        for (int i = 0; i < 100; ++i) // so many that not all are begun before the first report
            entries.push_back({(i % 2 == 0 ? "d/f" : "e/g") + std::to_string(i), "x"});
        write_file(root / "a.zip", raw_zip(entries));
        bool is_swapped = false;
        const auto swap = [&](float, const Url&) {
            if (std::exchange(is_swapped, true))
                return;
            fs::rename(root / "in/d", root / "moved");
            if (by_link)
                fs::create_directory_symlink(root / "victim", root / "in/d");
            else
                fs::rename(root / "victim", root / "in/d");
        };
        EXPECT_NE(unzip(root / "a.zip", root / "in", {.progress = swap}), success);
        EXPECT_EQ(tree(root / (by_link ? "victim" : "in/d")), Listing{"mine=1"});
    }
}

struct LinkCase {
    const char* name;
    Entries entries;
    Listing outside;
};

/// Those in `outside` lead there, in the order in which they stand.
const LinkCase link_cases[] = {
    {"absolute", {{"l", "/etc", link}, {"k", "x", link}}, {"l"}},
    {"up", {{"a/l", "../../etc", link}, {"a/k", "../etc", link}}, {"a/l"}},
    {"up through what is not there",
     {{"l", "missing/../../etc", link}, {"k", "missing/x/../../etc", link}},
     {"l"}},
    {"outside together",
     {{"a/b/back", "..", link}, {"l", "a/b/back/../../etc", link}, {"k", "a/b/back/../x", link}},
     {"l"}},
    {"outside together, the last first",
     {{"l", "a/b/back/../../etc", link}, {"a/b/back", "..", link}},
     {"l"}},
    {"through one that leads outside",
     {{"l", "/etc", link}, {"m", "l/passwd", link}, {"k", "loop/../..", link}, {"loop", "k", link}},
     {"l", "m"}},
};

TEST(HostileArchives, an_application_decides_on_links_that_lead_outside)
{
    const ExpansionLimits before = Zip::expansion_limits();
    for (const LinkCase& row : link_cases) {
        const Scratch root;
        make_tree(root.url(), {"in/", "kept/"});
        Entries entries{{"harmless", "y"}};
        entries.insert(entries.end(), row.entries.begin(), row.entries.end());
        write_file(root / "a.zip", raw_zip(entries));

        Zip::set_expansion_limits({.links_outside = LinksOutside::refuse});
        EXPECT_EQ(unzip(root / "a.zip", root / "in"), outside_link) << row.name;
        EXPECT_EQ(tree(root / "in"), Listing{}) << row.name;
        Zip::set_expansion_limits({.links_outside = LinksOutside::leave_out});
        EXPECT_EQ(unzip(root / "a.zip", root / "in"), success) << row.name;
        Zip::set_expansion_limits(before);
        EXPECT_EQ(unzip(root / "a.zip", root / "kept"), success) << row.name;
        for (const RawEntry& entry : entries) {
            const bool is_left_out =
                std::find(row.outside.begin(), row.outside.end(), entry.name) != row.outside.end();
            const std::string path = "in/" + entry.name;
            EXPECT_EQ(std::filesystem::is_symlink(root / path) ||
                          std::filesystem::exists(root / path),
                      !is_left_out)
                << row.name << ": " << entry.name;
        }
        EXPECT_EQ(tree(root / "kept").size(), tree(root / "in").size() + row.outside.size());
    }
}

TEST(HostileArchives, a_directory_is_read_whole_or_refused)
{
    const Scratch root;
    const Entries few{{"a", "1"}, {"b", "2"}, {"c", "3"}};
    const std::string whole = raw_zip(few);
    const auto with_count = [](std::string archive, int count) {
        const std::string bytes = little_endian(static_cast<std::uint64_t>(count), 2);
        return archive.replace(archive.size() - 14, 4, bytes + bytes);
    };
    std::string emptied = with_count(whole, 0);
    emptied.replace(emptied.size() - 10, 8, 8, '\0');
    for (const std::string& bytes :
         {with_count(whole, 0), with_count(whole, 1), with_count(whole, 4), emptied}) {
        const Scratch destination;
        write_file(root / "a.zip", bytes);
        EXPECT_EQ(unzip(root / "a.zip", destination.url()), damaged);
        EXPECT_EQ(tree(destination.url()), Listing{});
    }
    Entries many; // so many that their count wraps
    for (int i = 0; i < 65'538; ++i)
        many.push_back({"d/", "", folder});
    many.push_back({"last", "1"});
    const Scratch destination;
    write_file(root / "a.zip", raw_zip(many));
    EXPECT_EQ(unzip(root / "a.zip", destination.url()), success);
    EXPECT_EQ(tree(destination.url()), (Listing{"d/", "last=1"}));
}

TEST(HostileArchives, a_second_directory_for_other_readers_is_found_out)
{
    const Scratch root;
    make_tree(root.url(), {"out/"});
    const RawEntry entry{"f", std::string(20, 'x'), 0100644, 3, 1, 0, 8};
    const std::string inner = raw_zip({{"f", entry.content, 0100644, 3, 0x41, 0, 8}});
    const std::size_t inner_start = inner.find("PK\1\2");
    const std::string end = inner.substr(inner.rfind("PK\5\6"));
    const std::string outer = raw_zip({entry});
    // Seen from the end, the directory lies right before it. The offset leads to the other one.
    write_file(root / "a.zip", inner.substr(0, inner.size() - end.size()) +
                                   outer.substr(0, outer.size() - end.size()) + end);
    ASSERT_EQ(inner_start, outer.find("PK\1\2"));
    EXPECT_EQ(unzip(root / "a.zip", root / "out", {"p"}), damaged);
    EXPECT_EQ(tree(root / "out"), Listing{});
}

TEST(HostileArchives, memory_is_linear_in_the_directory)
{
    const Scratch root;
    Entries entries;
    for (int i = 0; i < 4; ++i)
        entries.push_back({std::to_string(i) + repeated("/a", 32'000) + "/", "", folder});
    entries.push_back({"f", "x", 0100644, 3, 0, 97}); // refused after the names were read
    write_file(root / "a.zip", raw_zip(entries));
    const std::int64_t before = peak_memory();
    EXPECT_EQ(unzip(root / "a.zip", root.url()), unknown_way);
    EXPECT_LT(peak_memory() - before, 200 << 20);
}

TEST(HostileArchives, thousands_of_items_of_one_name_take_linear_time)
{
    const Scratch root;
    make_tree(root.url(), {"in/"});
    Entries entries;
    for (int i = 1; i <= 3000; ++i) {
        const std::string name = i == 1 ? "f" : "f " + std::to_string(i);
        entries.push_back({name, ""});
        entries.push_back({name, ""});
    }
    entries.push_back({"g", "x", 0100644, 3, 0, 97}); // refused after the names were given
    write_file(root / "a.zip", raw_zip(entries));
    const StopWatch watch;
    EXPECT_EQ(unzip(root / "a.zip", root / "in"), unknown_way);
    EXPECT_LT(watch.elapsed_time(), 1);
}

TEST(HostileArchives, an_application_sets_the_limits)
{
    const Scratch root;
    write_file(root / "a.zip", raw_zip({{"a/b/c", std::string(5000, 'x')}}));
    const ExpansionLimits before = Zip::expansion_limits();
    const std::pair<ExpansionLimits, std::string> rows[] = {
        {{3, 5000, 1}, success},
        {{3, 4999, 1}, success},
        {{2, 5000, 1}, "unzip: The archive holds too many items."},
    };
    for (const auto& [limits, outcome] : rows) {
        const Scratch destination;
        Zip::set_expansion_limits(limits);
        EXPECT_EQ(unzip(root / "a.zip", destination.url()), outcome);
    }
    Zip::set_expansion_limits(before);
}

} // namespace
} // namespace orv::test
