#include "Operations/frame/UrlLocker.hpp"

#include "support/Engine.hpp"

#include <map>
#include <string>

namespace orv::test {
namespace {

/// "r/a" is a location to be read, "w/a" one to be written.
LockType lock_type(const std::string& text)
{
    return text[0] == 'r' ? read(text.substr(1)) : write(text.substr(1));
}

std::vector<LockType> lock_types(const std::vector<std::string>& texts)
{
    std::vector<LockType> types;
    for (const std::string& text : texts)
        types.push_back(lock_type(text));
    return types;
}

/// Tries to lock, gives back what was got, and returns the clash.
std::string clash_of(const std::vector<LockType>& sources, const LockType& dest, bool allow)
{
    try {
        const UrlLock lock(sources, dest, allow);
        return {};
    } catch (const Error& error) {
        return error.sentence();
    }
}

/// What is locked among the locations that the tests use.
std::map<std::string, std::string> locked()
{
    std::map<std::string, std::string> locks;
    for (const char* path : {"/a", "/a/b", "/a/b/c", "/ab", "/d", "/e", "/f", "/g"}) {
        locks[path] = UrlLocker::is_read_locked(path) ? "r" : "";
        locks[path] += UrlLocker::is_write_locked(path) ? "w" : "";
    }
    return locks;
}

struct ClashCase {
    std::string name;
    std::vector<std::string> held;
    std::vector<std::string> sources;
    std::string dest;
    std::string clash;
    bool allow_conflict = false;
};

const std::string source_written = "Source item is being written by another operation.";
const std::string paths_conflict = "Source path conflicts with destination path.";
const std::string dest_read = "Destination item is being read by another operation.";
const std::string dest_written = "Destination item is being written by another operation.";

const ClashCase clash_cases[] = {
    {"nothing is held", {}, {"r/a"}, "w/d", ""},
    {"readers share", {"r/a"}, {"r/a"}, "w/d", ""},
    {"readers share at any depth", {"r/a/b"}, {"r/a", "r/a/b/c"}, "w/d", ""},
    {"one who changes a source shares it with readers", {"r/a"}, {"w/a"}, "w/d", ""},
    {"source written", {"w/a"}, {"r/a"}, "w/d", source_written},
    {"source inside what is written", {"w/a"}, {"r/a/b/c"}, "w/d", source_written},
    {"source around what is written", {"w/a/b/c"}, {"w/a"}, "w/d", source_written},
    {"a later source written", {"w/d"}, {"r/a", "w/d"}, "w/e", source_written},
    {"dest is the source", {}, {"r/a"}, "w/a", paths_conflict},
    {"dest inside the source", {}, {"r/a"}, "w/a/b", paths_conflict},
    {"source inside the dest", {}, {"r/a/b"}, "w/a", paths_conflict},
    {"dest inside the source, allowed", {}, {"r/a"}, "w/a/b", "", true},
    {"dest inside a later source", {}, {"r/d", "r/a"}, "w/a/b", paths_conflict},
    {"dest read", {"r/a"}, {}, "w/a", dest_read},
    {"dest inside what is read", {"r/a"}, {}, "w/a/b", dest_read},
    {"dest around what is read", {"r/a/b/c"}, {}, "w/a", dest_read},
    {"dest read, allowed", {"r/a"}, {"r/a"}, "w/a/b", dest_read, true},
    {"dest written", {"w/a"}, {}, "w/a", dest_written},
    {"dest inside what is written", {"w/a"}, {}, "w/a/b/c", dest_written},
    {"dest around what is written", {"w/a/b"}, {}, "w/a", dest_written},
    {"everything lies in the root", {"w/a"}, {}, "w/", dest_written},
    {"source written comes before paths conflict", {"w/a"}, {"r/a"}, "w/a/b", source_written},
    {"source by source", {"w/d"}, {"r/a", "r/d"}, "w/a/b", paths_conflict},
    {"paths conflict comes before dest read", {"r/a/b"}, {"r/a"}, "w/a/b", paths_conflict},
    {"dest read comes before dest written", {"w/a/b", "r/a/b/c"}, {}, "w/a", dest_read},
    {"a name that begins alike", {"w/a"}, {}, "w/ab", ""},
    {"a longer name that begins alike", {"w/ab"}, {"r/a"}, "w/d", ""},
    {"another spelling", {"w/a/./b/../b"}, {}, "w//a/b/", dest_written},
    {"a dest counts as written whatever it is called", {"r/a"}, {}, "r/a", dest_read},
};

TEST(UrlLockerTest, a_clash_ends_the_call_and_changes_nothing)
{
    for (const ClashCase& row : clash_cases) {
        SCOPED_TRACE(row.name);
        const auto held = UrlLocker::lock(lock_types(row.held), write("/g"), true);
        const auto before = locked();
        EXPECT_EQ(clash_of(lock_types(row.sources), lock_type(row.dest), row.allow_conflict),
                  row.clash);
        EXPECT_EQ(locked(), before);
        UrlLocker::unlock(held);
        expect_no_locks();
    }
}

TEST(UrlLockerTest, what_is_registered_is_locked_as_it_was_asked)
{
    const UrlLock lock({read("/a/b"), write("/d")}, read("/e"));
    const std::map<std::string, std::string> expected = {
        {"/a", "r"}, {"/a/b", "r"}, {"/a/b/c", "r"}, {"/ab", ""},
        {"/d", "w"}, {"/e", "w"},   {"/f", ""},      {"/g", ""}};
    EXPECT_EQ(locked(), expected);
}

TEST(UrlLockerTest, a_release_leaves_the_registrations_of_others)
{
    const auto first = UrlLocker::lock({read("/a")}, write("/d"), false);
    const auto second = UrlLocker::lock({read("/a")}, write("/e"), false);
    UrlLocker::unlock(first);
    UrlLocker::unlock(first);
    EXPECT_TRUE(UrlLocker::is_read_locked("/a"));
    EXPECT_FALSE(UrlLocker::is_write_locked("/d"));
    EXPECT_TRUE(UrlLocker::is_write_locked("/e"));

    const UrlLock third(write("/d"));
    UrlLocker::unlock(first);
    EXPECT_TRUE(UrlLocker::is_write_locked("/d"));
    UrlLocker::unlock(second);
    EXPECT_FALSE(UrlLocker::is_read_locked("/a"));
}

TEST(UrlLockerTest, a_location_below_a_linked_folder_is_that_below_its_target)
{
    const Scratch scratch;
    make_tree(scratch.url(), {"real/folder/", "link->real/folder", "other->link"});
    const UrlLock lock(write(scratch / "link/item"));
    for (const char* same : {"real/folder/item", "other/item", "other/../folder/item/in", "real"})
        EXPECT_EQ(clash_of({}, write(scratch / same), false), dest_written) << same;
    EXPECT_EQ(clash_of({read(scratch / "link/item")}, write("/d"), false), source_written);
    EXPECT_EQ(clash_of({}, write(scratch / "link"), false), "")
        << "the link itself is another item";
}

TEST(UrlLockerTest, a_clash_names_the_method_and_the_place)
{
    const UrlLock lock(write("/a"));
    try {
        const UrlLock clashing({read("/a/b")}, write("/d"));
        FAIL();
    } catch (const Error& error) {
        EXPECT_NE(error.message().find("src/Operations/UrlLocker, "
                                       "lock(sources:dest:allow_conflict:), line "),
                  std::string::npos)
            << error.message();
        EXPECT_EQ(error.path(), Url("/a/b"));
    }
}

} // namespace
} // namespace orv::test
