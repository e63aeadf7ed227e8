#include "archive/ArchiveDirectory.hpp"
#include "archive/ZipCalls.hpp"
#include "files/MakeFolder.hpp"
#include "files/Place.hpp"
#include "files/RemoveTree.hpp"
#include "support/Scratch.hpp"
#include "support/Snapshot.hpp"
#include "support/Tree.hpp"
#include "support/Volume.hpp"
#include "utility/StopWatch.hpp"

#include <filesystem>
#include <random>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace orv::test {
namespace {

namespace fs = std::filesystem;
using Listing = std::vector<std::string>;

constexpr std::size_t mebibyte = 1 << 20;

std::string random_bytes(std::size_t size)
{
    std::mt19937_64 random(size);
    std::string bytes(size, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

std::string text_of(std::size_t size)
{
    std::string text;
    for (std::uint64_t i = 1; text.size() < size; i = i * 25214903917 % 1000003)
        text += "line " + std::to_string(i) + " of a text\n";
    text.resize(size);
    return text;
}

void set_time(const Url& url, time_t seconds, long nanoseconds)
{
    const timespec times[] = {{0, UTIME_OMIT}, {seconds, nanoseconds}};
    ASSERT_EQ(::utimensat(AT_FDCWD, url.path().c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
}

/// A tree with all that an archive keeps.
void make_everything(const Url& root)
{
    make_tree(root, {"d/", "d/.hidden/", "d/.hidden/.file=h", "d/empty/", "d/empty file=",
                     "d/ünïcode=u", "d/\xFF\xFE=bytes", "d/back\\slash=b", "d/c:colon=c",
                     "d/..\\evil=e", "d/sub/", "d/sub/link->../ünïcode", "d/broken->nowhere",
                     "d/old=o", "d/far=f", "d/read only=r", "d/closed/", "d/closed/in=i"});
    write_file(root.appending("d/text"), text_of(3 * mebibyte + 17));
    write_file(root.appending("d/one piece"), text_of(mebibyte));
    write_file(root.appending("d/a byte more"), text_of(mebibyte + 1));
    write_file(root.appending("d/noise"), random_bytes(2 * mebibyte + 5));
    write_file(root.appending("d/both"),
               text_of(mebibyte + 9) + random_bytes(2 * mebibyte) + text_of(99));
    write_file(root.appending("d/small noise"), random_bytes(30'000));
    fs::permissions(root.appending("d/read only"), fs::perms::owner_read);
    fs::permissions(root.appending("d/text"), fs::perms::all);
    set_time(root.appending("d/old"), -700'000'000, 500);
    set_time(root.appending("d/far"), 5'000'000'000, 0);
    set_time(root.appending("d/broken"), 1'000'000'000, 123'456'700);
    fs::permissions(root.appending("d/closed"), fs::perms::owner_read | fs::perms::owner_exec);
    set_time(root.appending("d/closed"), 1'500'000'000, 0);
}

/// What an archive keeps of a tree: the finest times that it knows are 100 ns.
Snapshot kept_of(const Url& root)
{
    Snapshot snapshot = snapshot_of(root);
    for (auto& [path, item] : snapshot) {
        item.has_holes = false;
        item.extended_attributes.clear();
        if (item.time)
            item.time = *item.time - ((*item.time % 100) + 100) % 100;
    }
    return snapshot;
}

void expect_alike(const Url& root, const Url& other)
{
    const Snapshot expected = kept_of(root);
    const Snapshot found = kept_of(other);
    ASSERT_EQ(found.size(), expected.size());
    for (const auto& [path, item] : expected)
        EXPECT_TRUE(found.contains(path) && found.at(path).alike(item)) << path;
}

TEST(RoundTrip, everything_comes_back_as_it_was)
{
    const Scratch root;
    make_everything(root / "in");
    const std::pair<ZipOptions, const char*> rows[] = {
        {{}, "default"},
        {{"pässword"}, "password"},
        {{{}, ZipCompression::no_compression}, "stored"},
        {{{}, ZipCompression::best_speed}, "speed"},
        {{"p", ZipCompression::best_compression}, "best, password"},
    };
    for (const auto& [options, name] : rows) {
        SCOPED_TRACE(name);
        const Scratch out;
        ASSERT_EQ(zip({root / "in/d"}, out / "a.zip", options), success);
        fs::create_directory(out / "out");
        ASSERT_EQ(unzip(out / "a.zip", out / "out", options), success);
        expect_alike(root / "in/d", out / "out/d");
    }
}

TEST(RoundTrip, what_deflating_makes_no_smaller_is_stored)
{
    const Scratch root;
    make_everything(root / "in");
    ASSERT_EQ(zip({root / "in/d"}, root / "a.zip"), success);
    const archive::ArchiveToRead file = archive::open_archive(root / "a.zip");
    const archive::Job job({}, false, {});
    std::map<std::string, std::uint16_t> methods;
    for (const archive::Entry& entry : archive::read_directory(file, 1000, job).entries) {
        methods[entry.name] = entry.method;
        EXPECT_LE(entry.packed_size, entry.size + 64) << entry.name;
    }
    for (const char* name : {"d/noise", "d/small noise", "d/empty file", "d/old", "d/broken"})
        EXPECT_EQ(methods.at(name), archive::stored_method) << name;
    for (const char* name : {"d/text", "d/one piece", "d/both"})
        EXPECT_EQ(methods.at(name), archive::deflated_method) << name;
}

TEST(RoundTrip, a_wrong_password_is_told)
{
    const Scratch root;
    make_tree(root.url(), {"in/l->somewhere", "in/f=text", "out/"});
    ASSERT_EQ(zip({root / "in"}, root / "a.zip", {"right"}), success);
    EXPECT_EQ(unzip(root / "a.zip", root / "out", {"wrong"}), "unzip: The password is wrong.");
    EXPECT_EQ(unzip(root / "a.zip", root / "out"), "unzip: The archive needs a password.");
    EXPECT_EQ(tree(root / "out"), Listing{});
    EXPECT_EQ(read_file(root / "a.zip").find("somewhere"), std::string::npos);
    EXPECT_EQ(zip({root / "in"}, root / "b.zip", {std::string("a\0b", 3)}),
              "zip: The password holds a character that no password can have.");
}

TEST(RoundTrip, thousands_of_items_of_one_name_take_linear_time)
{
    const Scratch root;
    make_tree(root.url(), {"f=1"});
    const auto canceller = std::make_shared<Zip::Canceller>();
    const auto cancel = [&](float, const Url&) { canceller->cancel(); };
    const StopWatch watch;
    EXPECT_EQ(zip(std::vector<Url>(5000, root / "f"), root / "a.zip",
                  {.canceller = canceller, .progress = cancel}),
              "cancelled: The request was cancelled.");
    EXPECT_LT(watch.elapsed_time(), 1);
}

TEST(RoundTrip, items_of_one_name_all_survive)
{
    const Scratch root;
    make_tree(root.url(), {"a/x.txt=1", "b/x.txt=2", "c/x.txt/y=3", "out/"});
    ASSERT_EQ(zip({root / "a/x.txt", root / "b/x.txt", root / "c/x.txt", root / "a/x.txt"},
                  root / "a.zip"),
              success);
    ASSERT_EQ(unzip(root / "a.zip", root / "out"), success);
    EXPECT_EQ(tree(root / "out"),
              (Listing{"x 2.txt=2", "x 3.txt=1", "x.txt 2/", "x.txt 2/y=3", "x.txt=1"}));
}

TEST(RoundTrip, nothing_that_stands_in_the_destination_is_replaced)
{
    const Scratch root;
    make_tree(root.url(), {"f=new", "l->new", "out/f=mine", "out/l=mine"});
    ASSERT_EQ(zip({root / "f", root / "l"}, root / "a.zip"), success);
    ASSERT_EQ(unzip(root / "a.zip", root / "out"), success);
    EXPECT_EQ(tree(root / "out"), (Listing{"f 2=new", "f=mine", "l 2->new", "l=mine"}));
}

TEST(RoundTrip, no_items_make_an_empty_archive)
{
    const Scratch root;
    make_tree(root.url(), {"out/"});
    float last = 0;
    const auto note = [&](float fraction, const Url&) { last = fraction; };
    ASSERT_EQ(zip({}, root / "a.zip", {.progress = note}), success);
    EXPECT_EQ(read_file(root / "a.zip"), "PK\5\6" + std::string(18, '\0'));
    EXPECT_EQ(std::exchange(last, 0), 1);
    EXPECT_EQ(unzip(root / "a.zip", root / "out", {.progress = note}), success);
    EXPECT_EQ(last, 1);
}

TEST(RoundTrip, an_archive_does_not_hold_itself)
{
    const Scratch root;
    make_tree(root.url(), {"d/f=1", "out/"});
    ASSERT_EQ(zip({root / "d"}, root / "d/a.zip"), success);
    ASSERT_EQ(unzip(root / "d/a.zip", root / "out"), success);
    EXPECT_EQ(tree(root / "out"), (Listing{"d/", "d/f=1"}));
}

TEST(RoundTrip, a_deep_tree_comes_back)
{
    const Scratch root;
    fs::create_directory(root / "out");
    std::string path = "d";
    for (int depth = 0; depth < 200; ++depth)
        path += "/folder";
    make_tree(root.url(), {path + "/f=deep", "d/folder/g=high"});
    ASSERT_EQ(zip({root / "d"}, root / "a.zip"), success);
    ASSERT_EQ(unzip(root / "a.zip", root / "out"), success);
    expect_alike(root / "d", root / "out/d");
}

TEST(RoundTrip, a_failed_packing_leaves_nothing)
{
    const Scratch root;
    make_tree(root.url(), {"f=1", "taken=mine", "empty=", "d/"});
    ASSERT_EQ(::mkfifo((root / "d/pipe").path().c_str(), 0600), 0);
    const std::string pipe = "zip: An archive cannot keep a socket, a pipe or a device.";
    EXPECT_EQ(zip({root / "f", root / "none"}, root / "a.zip"),
              "not found: No such file or directory.");
    EXPECT_EQ(zip({root / "d/pipe"}, root / "a.zip"), pipe);
    EXPECT_EQ(zip({root / "d/pipe"}, root / "empty"), pipe);
    EXPECT_EQ(zip({root / "f"}, root / "taken"), "zip: File exists.");
    EXPECT_EQ(zip({root / "f"}, root / "none/a.zip"), "zip: No such file or directory.");
    EXPECT_EQ(zip({Url("/")}, root / "a.zip"), "zip: Invalid argument.");
    fs::remove(root / "d/pipe");
    EXPECT_EQ(tree(root.url()), (Listing{"d/", "empty=", "f=1", "taken=mine"}));
    EXPECT_EQ(unzip(root / "none", root / "d"), "not found: No such file or directory.");
    EXPECT_EQ(unzip(root / "d", root / "d"), "unzip: Is a directory.");
    EXPECT_EQ(zip({root / "f"}, root / "empty"), success);
}

TEST(RoundTrip, what_cannot_be_packed_in_a_tree_is_left_out)
{
    const Scratch root;
    make_tree(root.url(), {"d/e/f=1", "d/l->f", "out/"});
    ASSERT_EQ(::mkfifo((root / "d/e/pipe").path().c_str(), 0600), 0);
    ASSERT_EQ(::mknod((root / "d/socket").path().c_str(), S_IFSOCK | 0600, 0), 0);
    ASSERT_EQ(zip({root / "d"}, root / "a.zip"), success);
    ASSERT_EQ(unzip(root / "a.zip", root / "out"), success);
    EXPECT_EQ(tree(root / "out"), (Listing{"d/", "d/e/", "d/e/f=1", "d/l->f"}));
}

TEST(RoundTrip, names_of_any_bytes_come_back_and_have_the_flag_that_is_theirs)
{
    const struct {
        std::string name;
        bool is_utf8; ///< and more than ASCII
    } rows[] = {
        {"a\x01\n\x7F"
         "b",
         false},
        {"\u00E9\x1B[31m", true},
        {"\u00E9", true},
        {"over\xC0\xAFlong", false},
        {"sur\xED\xA0\x80rogate", false},
        {"\xF4\x90\x80\x80", false}, // past the last character
        {"\xFF", false},
    };
    const Scratch root;
    make_tree(root.url(), {"d/", "out/"});
    for (const auto& [name, is_utf8] : rows)
        write_file(root.url().appending("d").appending(name), "1");
    ASSERT_EQ(zip({root / "d"}, root / "a.zip"), success);
    ASSERT_EQ(unzip(root / "a.zip", root / "out"), success);
    EXPECT_EQ(tree(root / "out/d"), tree(root / "d"));
    const archive::ArchiveToRead file = archive::open_archive(root / "a.zip");
    const auto directory = archive::read_directory(file, 100, archive::Job({}, false, {}));
    EXPECT_TRUE(directory.wrong_utf8_flags.empty());
    for (const auto& [name, is_utf8] : rows)
        for (const archive::Entry& entry : directory.entries)
            if (entry.name == "d/" + name) {
                EXPECT_EQ((entry.flags & archive::utf8_flag) != 0, is_utf8) << name;
            }
}

TEST(RoundTrip, files_that_state_no_size_are_packed_with_their_content)
{
    const Scratch root;
    make_tree(root.url(), {"out/"});
    for (const auto& password : {std::optional<std::string>(), std::optional<std::string>("p")}) {
        ASSERT_EQ(zip({"/proc/cpuinfo", "/proc/self/limits", "/proc/kallsyms"}, root / "a.zip",
                      {password}),
                  success);
        ASSERT_EQ(unzip(root / "a.zip", root / "out", {password}), success);
        EXPECT_EQ(read_file(root / "out/limits"), read_file("/proc/self/limits"));
        EXPECT_EQ(read_file(root / "out/kallsyms"), read_file("/proc/kallsyms"));
        EXPECT_GT(fs::file_size(root / "out/cpuinfo"), 100U);
        fs::remove(root / "a.zip");
        fs::remove_all(root / "out");
        fs::create_directory(root / "out");
    }
}

TEST(RoundTrip, archives_and_items_lie_below_paths_of_any_length)
{
    const Scratch root;
    Url deep = root.url();
    for (int depth = 0; depth < 40; ++depth)
        deep = deep.appending(std::string(150, 'n'));
    make_folder(deep, true);
    const Place place = Place::in_opened_folder(deep.appending("f"));
    const Url near("/proc/self/fd/" + std::to_string(place.folder()));
    make_tree(near, {"in/e/f=1", "f=2", "f 2=3", "out/", "out/f=mine"});
    ASSERT_EQ(zip({deep.appending("in"), deep.appending("f")}, deep.appending("a.zip")), success);
    ASSERT_EQ(unzip(deep.appending("a.zip"), deep.appending("out")), success);
    EXPECT_EQ(tree(near.appending("out")),
              (Listing{"f 2=2", "f=mine", "in/", "in/e/", "in/e/f=1"}));
    remove_tree(root / std::string(150, 'n'));
}

TEST(RoundTrip, a_full_volume_is_told_and_left_empty)
{
    const auto volume = Volume::in_memory(512);
    if (!volume)
        GTEST_SKIP() << "this user may mount nothing";
    const Scratch root;
    write_file(root / "f", random_bytes(3 * mebibyte));
    EXPECT_EQ(zip({root / "f"}, volume->url().appending("a")), "zip: No space left on device.");
    EXPECT_EQ(tree(volume->url()), Listing{});
}

TEST(RoundTrip, a_file_that_changes_meanwhile_is_packed_as_it_was_read)
{
    for (const std::uintmax_t size : {std::uintmax_t{1000}, std::uintmax_t{90 * mebibyte}}) {
        const Scratch root;
        make_tree(root.url(), {"a=first", "f=", "out/"});
        fs::resize_file(root / "f", 60 * mebibyte);
        const auto change = [&](float, const Url&) { fs::resize_file(root / "f", size); };
        ASSERT_EQ(zip({root / "a", root / "f"}, root / "a.zip", {.progress = change}), success);
        ASSERT_EQ(unzip(root / "a.zip", root / "out"), success);
        EXPECT_LE(fs::file_size(root / "out/f"), 60 * mebibyte);
    }
}

struct Reports {
    std::vector<float> fractions;
    std::vector<std::string> names;

    Zip::Progress closure()
    {
        return [this](float fraction, const Url& item) {
            fractions.push_back(fraction);
            names.push_back(item.path());
        };
    }
    void expect_complete(const Url& root, const Listing& items) const
    {
        EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
        EXPECT_EQ(fractions.back(), 1);
        for (const std::string& item : items)
            EXPECT_NE(std::find(names.begin(), names.end(), root.appending(item).path()),
                      names.end())
                << item;
    }
};

TEST(Progress, names_every_item_and_grows_to_one)
{
    const Scratch root;
    make_tree(root.url(), {"d/e/", "d/f=1", "d/l->f", "d/z=", "out/"});
    const Listing items{"d", "d/e", "d/f", "d/l", "d/z"};
    for (const bool test_mode : {false, true}) {
        Reports packed;
        fs::remove(root / "a.zip");
        ASSERT_EQ(zip({root / "d"}, root / "a.zip",
                      {.progress = packed.closure(), .test_mode = test_mode}),
                  success);
        packed.expect_complete(root.url(), items);
        Reports unpacked;
        fs::remove_all(root / "out/d");
        ASSERT_EQ(unzip(root / "a.zip", root / "out",
                        {.progress = unpacked.closure(), .test_mode = test_mode}),
                  success);
        unpacked.expect_complete(root / "out", items);
    }
}

TEST(Progress, what_the_callback_throws_ends_the_request)
{
    const Scratch root;
    make_tree(root.url(), {"f=1", "out/"});
    const auto refuse = [](float, const Url&) { throw std::runtime_error("refused"); };
    EXPECT_THROW(static_cast<void>(zip({root / "f"}, root / "a.zip", {.progress = refuse})),
                 std::runtime_error);
    EXPECT_FALSE(fs::exists(root / "a.zip"));
    ASSERT_EQ(zip({root / "f"}, root / "a.zip"), success);
    EXPECT_THROW(static_cast<void>(unzip(root / "a.zip", root / "out", {.progress = refuse})),
                 std::runtime_error);
}

/// Cancels at the first report of a request, and measures how long it goes on.
class CancelAtFirstReport {
public:
    ZipOptions options(ZipOptions options)
    {
        options.canceller = std::make_shared<Zip::Canceller>();
        options.progress = [this, canceller = options.canceller](float fraction, const Url&) {
            if (!canceller->is_cancelled()) {
                fraction_ = fraction;
                canceller->cancel();
                watch_.reset();
            }
        };
        return options;
    }
    void expect_prompt() const
    {
        EXPECT_LT(watch_.elapsed_time(), 0.2);
        EXPECT_LT(fraction_, 1);
    }

private:
    StopWatch watch_;
    float fraction_ = 1;
};

TEST(Cancel, ends_in_the_middle_of_a_big_item_and_leaves_nothing_of_it)
{
    const std::string cancelled = "cancelled: The request was cancelled.";
    const Scratch root;
    make_tree(root.url(), {"big=", "out/"});
    fs::resize_file(root / "big", 1024 * mebibyte);
    for (const ZipCompression compression :
         {ZipCompression::default_compression, ZipCompression::best_compression}) {
        CancelAtFirstReport packing;
        EXPECT_EQ(zip({root / "big"}, root / "a.zip", packing.options({{}, compression})),
                  cancelled);
        packing.expect_prompt();
        EXPECT_FALSE(fs::exists(root / "a.zip"));
    }
    for (const auto& password : {std::optional<std::string>(), std::optional<std::string>("p")}) {
        ASSERT_EQ(zip({root / "big"}, root / "a.zip", {password, ZipCompression::best_speed}),
                  success);
        CancelAtFirstReport unpacking;
        EXPECT_EQ(unzip(root / "a.zip", root / "out", unpacking.options({password})), cancelled);
        unpacking.expect_prompt();
        EXPECT_EQ(tree(root / "out"), Listing{});
        fs::remove(root / "a.zip");
    }
}

} // namespace
} // namespace orv::test
