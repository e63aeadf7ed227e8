#include "archive/ArchiveDirectory.hpp"
#include "archive/EntryReader.hpp"
#include "archive/Job.hpp"
#include "archive/RawZip.hpp"
#include "archive/ZipCalls.hpp"
#include "support/Scratch.hpp"
#include "support/Tree.hpp"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <zlib.h>

namespace orv::test {
namespace {

namespace fs = std::filesystem;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool is_sanitized = true;
#else
constexpr bool is_sanitized = false;
#endif

constexpr std::uint64_t more_than_4_gib = (std::uint64_t{4} << 30) + (3 << 20) + 5;

void expect_little_memory()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    EXPECT_LT(usage.ru_maxrss / 1024, 256) << "MiB";
}

void write_at(const Url& file, std::uint64_t position, const std::string& bytes)
{
    std::fstream stream(file.path(), std::ios::in | std::ios::out | std::ios::binary);
    stream.seekp(static_cast<std::streamoff>(position));
    stream << bytes;
}

std::string read_end(const Url& file, std::streamoff size)
{
    std::ifstream stream(file.path(), std::ios::binary);
    stream.seekg(-size, std::ios::end);
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(LargeArchives, a_file_above_4_gib_comes_back)
{
    if (is_sanitized)
        GTEST_SKIP() << "takes too long with sanitizers";
    const Scratch root;
    make_tree(root.url(), {"big=", "z=after", "out/"});
    fs::resize_file(root / "big", more_than_4_gib);
    write_at(root / "big", more_than_4_gib - 3, "end");
    ASSERT_EQ(zip({root / "big", root / "z"}, root / "a.zip", {{}, ZipCompression::best_speed}),
              success);
    ASSERT_EQ(unzip(root / "a.zip", root / "out"), success);
    EXPECT_EQ(fs::file_size(root / "out/big"), more_than_4_gib);
    EXPECT_EQ(read_end(root / "out/big", 4), std::string("\0end", 4));
    EXPECT_EQ(read_file(root / "out/z"), "after");
    expect_little_memory();
}

/// An archive above 4 GiB, most of it a hole, in the places where large numbers stand.
void make_sparse_archive(const Url& archive)
{
    uLong crc = ::crc32(0, nullptr, 0);
    const std::string zeros(1 << 20, '\0');
    const uLong crc_of_part = crc_of(zeros);
    for (std::uint64_t size = 0; size < (std::uint64_t{5} << 30); size += zeros.size())
        crc = ::crc32_combine(crc, crc_of_part, static_cast<z_off_t>(zeros.size()));

    const std::uint64_t size = std::uint64_t{5} << 30;
    const auto fixed = [](std::uint32_t checksum, std::uint64_t bytes, std::size_t fields) {
        const std::uint64_t told = std::min<std::uint64_t>(bytes, 0xFFFFFFFF);
        return little_endian(45, 2) + little_endian(0, 4) + little_endian(0x5A426000, 4) +
               little_endian(checksum, 4) + little_endian(told, 4) + little_endian(told, 4) +
               little_endian(1, 2) + little_endian(fields, 2);
    };
    const std::string sizes = little_endian(size, 8) + little_endian(size, 8);
    const std::string large = extra_field(1, sizes);
    const std::string offset_field = extra_field(1, little_endian(30 + 1 + large.size() + size, 8));
    const std::string first =
        "PK\3\4" + fixed(static_cast<std::uint32_t>(crc), size, large.size()) + "b" + large;
    const std::string second = "PK\3\4" + fixed(crc_of("x"), 1, 0) + "sx";
    const std::string directory =
        "PK\1\2\x14\3" + fixed(static_cast<std::uint32_t>(crc), size, large.size()) +
        little_endian(0, 6) + little_endian(0x81A40000, 4) + little_endian(0, 4) + "b" + large +
        "PK\1\2\x14\3" + fixed(crc_of("x"), 1, offset_field.size()) + little_endian(0, 6) +
        little_endian(0x81A40000, 4) + little_endian(0xFFFFFFFF, 4) + "s" + offset_field;
    const std::uint64_t start = first.size() + size + second.size();
    const std::string end = "PK\6\6" + little_endian(44, 8) + little_endian(45, 2) +
                            little_endian(45, 2) + little_endian(0, 8) + little_endian(2, 8) +
                            little_endian(2, 8) + little_endian(directory.size(), 8) +
                            little_endian(start, 8) + "PK\6\7" + little_endian(0, 4) +
                            little_endian(start + directory.size(), 8) + little_endian(1, 4) +
                            "PK\5\6" + little_endian(0, 4) + little_endian(0xFFFFFFFF, 4) +
                            little_endian(~std::uint64_t{0}, 8) + little_endian(0, 2);
    write_file(archive, first);
    write_at(archive, first.size() + size, second + directory + end);
}

TEST(LargeArchives, an_archive_above_4_gib_is_unpacked)
{
    if (is_sanitized)
        GTEST_SKIP() << "takes too long with sanitizers";
    const Scratch root;
    make_tree(root.url(), {"out/"});
    make_sparse_archive(root / "a.zip");
    ASSERT_EQ(unzip(root / "a.zip", root / "out"), success);
    EXPECT_EQ(fs::file_size(root / "out/b"), std::uint64_t{5} << 30);
    EXPECT_EQ(read_file(root / "out/s"), "x");
    expect_little_memory();
}

/// Each lists the size of "big" and reads "z", which stands after it.
void expect_told_by_other_tools(const Url& archive)
{
    const std::string size = std::to_string(more_than_4_gib);
    const char* const tests[] = {
        "! unzip -v || { unzip -l $A | grep -q \"$S.* big\" && [ $(unzip -p $A z) = after ]; }",
        "! 7z i || { 7z l $A | grep -q \"$S.* big\" && [ $(7z e -so $A z) = after ]; }",
        "! python3 --version || python3 -c \"import sys, zipfile; z=zipfile.ZipFile('$A'); "
        "sys.exit(z.getinfo('big').file_size != $S or z.read('z') != b'after')\""};
    for (const char* test : tests)
        EXPECT_TRUE(shell("A='" + archive.path() + "' S=" + size + "; " + test)) << test;
}

/// What an archive holds under a name, read without unpacking the rest.
std::string read_entry(const Url& archive, const std::string& name)
{
    const Zip::Progress untold;
    const archive::Job job({}, false, untold);
    const archive::ArchiveToRead file = archive::open_archive(archive);
    archive::ArchiveDirectory directory = archive::read_directory(file, 10, job);
    archive::EntryReader reader(file, directory, {}, job);
    std::string content;
    for (const archive::Entry& entry : directory.entries)
        if (entry.name == name)
            reader.read(entry, [&](archive::ByteView part) {
                content.append(reinterpret_cast<const char*>(part.data()), part.size());
            });
    return content;
}

/// It is as sparse as what is stored in it.
TEST(LargeArchives, an_archive_above_4_gib_is_made)
{
    if (is_sanitized)
        GTEST_SKIP() << "takes too long with sanitizers";
    const Scratch root;
    make_tree(root.url(), {"big=", "z=after"});
    fs::resize_file(root / "big", more_than_4_gib);
    write_at(root / "big", more_than_4_gib - 3, "end");
    ASSERT_EQ(zip({root / "big", root / "z"}, root / "a.zip", {{}, ZipCompression::no_compression}),
              success);
    EXPECT_GT(fs::file_size(root / "a.zip"), more_than_4_gib);
    EXPECT_EQ(read_entry(root / "a.zip", "z"), "after");
    expect_told_by_other_tools(root / "a.zip");
    expect_little_memory();
}

TEST(LargeArchives, more_items_than_65535_come_back)
{
    if (is_sanitized)
        GTEST_SKIP() << "takes too long with sanitizers";
    constexpr int folders = 70;
    constexpr int files = 1000;
    const Scratch root;
    fs::create_directory(root / "out");
    for (int i = 0; i < folders; ++i) {
        const Url folder = root / ("in/folder " + std::to_string(i));
        fs::create_directories(folder);
        for (int j = 0; j < files; ++j)
            write_file(folder.appending("file " + std::to_string(j)), "");
    }
    ASSERT_EQ(zip({root / "in"}, root / "a.zip"), success);
    ASSERT_EQ(unzip(root / "a.zip", root / "out"), success);
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& item : fs::recursive_directory_iterator(root / "out"))
        ++count;
    EXPECT_EQ(count, 1 + folders * (files + 1));
    expect_little_memory();
}

} // namespace
} // namespace orv::test
