#include "files/FileContent.hpp"

#include "support/Scratch.hpp"
#include "support/Tree.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <functional>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace orv::test {
namespace {

constexpr std::int64_t mebi = 1 << 20;

struct FileContentCase {
    std::string name;
    std::vector<std::pair<std::int64_t, std::string>> written;
    std::int64_t size;
    std::function<void(int fd)> at_first_step; ///< what happens to the original meanwhile
    std::int64_t copied_size;
};

void shrink(int fd, std::int64_t size)
{
    EXPECT_EQ(::ftruncate(fd, size), 0);
}

void append(int fd)
{
    EXPECT_EQ(::pwrite(fd, "more", 4, ::lseek(fd, 0, SEEK_END)), 4);
}

const std::string kibi(1024, 'x');

// Longer than what one call moves, so that there is a step in the middle.
const std::string long_text(9 * mebi, 'x');

const FileContentCase file_content_cases[] = {
    {"plain", {{0, long_text}}, 9 * mebi, {}, 9 * mebi},
    {"empty", {}, 0, {}, 0},
    {"one byte", {{0, "x"}}, 1, {}, 1},
    {"shrinks", {{0, long_text}}, 9 * mebi, [](int fd) { shrink(fd, 8 * mebi + 5); }, 8 * mebi + 5},
    {"shrinks to less than was copied",
     {{0, long_text}},
     9 * mebi,
     [](int fd) { shrink(fd, 1); },
     8 * mebi},
    {"grows", {{0, long_text}}, 9 * mebi, append, 9 * mebi},
    {"holes", {{mebi, kibi}, {3 * mebi, kibi}}, 4 * mebi, {}, 4 * mebi},
    {"hole alone", {}, 4 * mebi, {}, 4 * mebi},
    {"shrinks in its last hole", {{0, kibi}}, 4 * mebi, [](int fd) { shrink(fd, mebi); }, mebi},
    {"shrinks in a hole before data",
     {{0, kibi}, {3 * mebi, kibi}},
     4 * mebi,
     [](int fd) { shrink(fd, 2 * mebi); },
     2 * mebi},
    {"grows at its last hole", {{0, kibi}}, 4 * mebi, append, 4 * mebi},
};

TEST(FileContentTest, copies_what_a_file_held_as_far_as_it_can_be_read)
{
    // In memory: there blocks are never shared, which would leave no step in the middle.
    const bool memory = ::access("/dev/shm", W_OK) == 0;
    const Scratch scratch(memory ? "/dev/shm" : "");
    for (const FileContentCase& row : file_content_cases) {
        SCOPED_TRACE(row.name);
        const Url from = scratch / "from";
        const Url to = scratch / "to";
        const FileDescriptor source(::open(from.path().c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600));
        const FileDescriptor copy(::open(to.path().c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600));
        for (const auto& [offset, text] : row.written)
            EXPECT_EQ(::pwrite(source.get(), text.data(), text.size(), offset),
                      static_cast<ssize_t>(text.size()));
        EXPECT_EQ(::ftruncate(source.get(), row.size), 0);
        const std::string before = read_file(from);
        struct stat status {};
        ::fstat(source.get(), &status);

        bool changed = false;
        std::int64_t last = 0;
        FileContent().copy({source.get(), from}, {copy.get(), to}, status, [&](std::int64_t done) {
            EXPECT_GE(done, last);
            last = done;
            if (row.at_first_step && !changed)
                row.at_first_step(source.get());
            changed = true;
        });
        const std::string after = read_file(to);
        EXPECT_EQ(static_cast<std::int64_t>(after.size()), row.copied_size);
        EXPECT_TRUE(before.starts_with(after));
    }
}

TEST(FileContentTest, a_file_that_states_no_size_is_read_to_its_end)
{
    const Scratch scratch;
    const Url from = "/proc/self/status";
    const Url to = scratch / "to";
    const FileDescriptor source(::open(from.path().c_str(), O_RDONLY));
    const FileDescriptor copy(::open(to.path().c_str(), O_RDWR | O_CREAT, 0600));
    struct stat status {};
    ::fstat(source.get(), &status);
    FileContent().copy({source.get(), from}, {copy.get(), to}, status, [](std::int64_t) {});
    EXPECT_TRUE(read_file(to).starts_with("Name:"));
}

TEST(FileContentTest, what_a_step_throws_and_a_failed_write_end_it)
{
    const Scratch scratch;
    write_file(scratch / "from", "text");
    const Url from = scratch / "from";
    const Url to = scratch / "to";
    const FileDescriptor source(::open(from.path().c_str(), O_RDONLY));
    const FileDescriptor copy(::open(to.path().c_str(), O_RDWR | O_CREAT, 0600));
    struct stat status {};
    ::fstat(source.get(), &status);
    EXPECT_THROW(FileContent().copy({source.get(), from}, {copy.get(), to}, status,
                                    [](std::int64_t) { throw Exception(); }),
                 Exception);
    const FileDescriptor full(::open("/dev/full", O_RDWR));
    try {
        FileContent().copy({source.get(), from}, {full.get(), to}, status, [](std::int64_t) {});
        FAIL();
    } catch (const Error& error) {
        EXPECT_EQ(error.code(), ENOSPC);
        EXPECT_EQ(error.path(), to);
    }
}

} // namespace
} // namespace orv::test
