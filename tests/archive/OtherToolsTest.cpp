#include "archive/ZipCalls.hpp"
#include "support/Scratch.hpp"
#include "support/Tree.hpp"

#include <filesystem>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

std::string quoted(const Url& url)
{
    return "'" + url.path() + "'";
}

/// A tree that all the tools can hold. Python writes links as what they point to.
void make_common_tree(const Url& root)
{
    make_tree(root, {"d/.hidden=h", "d/empty/", "d/empty file=", "d/sub/ünïcode 日本=u",
                     "d/text=" + std::string(3000, 'x'), "d/sub/x=1"});
    std::string large;
    for (std::uint32_t i = 1; large.size() < 1'200'000; i = i * 1664525 + 1013904223)
        large += std::to_string(i);
    write_file(root.appending("d/large"), large);
    std::filesystem::permissions(root.appending("d/sub/x"), std::filesystem::perms(0751));
}

struct Tool {
    const char* name;
    const char* test;   ///< whether it is installed
    const char* pack;   ///< $A, of d in the working folder
    const char* unpack; ///< $A, into the working folder
    bool keeps_modes = true;
    const char* pack_with_password = nullptr; ///< "secret"
    const char* unpack_with_password = nullptr;
};

const Tool tools[] = {
    {"zip and unzip", "zip -v && unzip -v", "zip -qry $A d", "unzip -q $A", true,
     "zip -qryP secret $A d"},
    {"zip to a pipe", "zip -v && unzip -v", "zip -qry - d | cat >$A",
     "unzip -tq $A && unzip -q $A"},
    {"7z", "7z i", "7z a -tzip -snl $A d", "7z t $A && 7z x $A", true,
     "7z a -tzip -mem=AES256 -psecret $A d", "7z x -psecret $A"},
    {"7z without packing", "7z i", "7z a -tzip -mx0 $A d", "7z t $A && 7z x $A", true,
     "7z a -tzip -mx0 -mem=AES192 -psecret $A d"},
    {"bsdtar", "bsdtar --version", "bsdtar --format zip -cf $A d", "bsdtar -xf $A", true,
     "bsdtar --format zip --options zip:encryption=aes128 --passphrase secret -cf $A d",
     "bsdtar --passphrase secret -xf $A"},
    {"python", "python3 --version",
     "python3 -c \"import shutil,sys; shutil.make_archive(sys.argv[1][:-4], 'zip', '.', 'd')\" $A",
     "python3 -c \"import zipfile,sys; z=zipfile.ZipFile(sys.argv[1]); assert z.testzip() is None; "
     "z.extractall()\" $A",
     false},
};

std::string in_folder(const Url& folder, const Url& archive, const char* command)
{
    return "cd " + quoted(folder) + " && A=" + quoted(archive) + " && " + command;
}

void expect_same(const Tool& tool, const Url& made, const Url& original)
{
    EXPECT_EQ(tree(made), tree(original)) << tool.name;
    if (tool.keeps_modes) {
        EXPECT_EQ(std::filesystem::status(made.appending("d/sub/x")).permissions(),
                  std::filesystem::perms(0751))
            << tool.name;
    }
    EXPECT_LT(std::chrono::abs(std::filesystem::last_write_time(made.appending("d/text")) -
                               std::filesystem::last_write_time(original.appending("d/text"))),
              std::chrono::seconds(tool.keeps_modes ? 3 : 1'000'000'000))
        << tool.name;
}

TEST(OtherTools, unpack_what_is_packed_here)
{
    const Scratch root;
    make_common_tree(root / "in");
    ASSERT_EQ(zip({root / "in/d"}, root / "plain.zip"), success);
    ASSERT_EQ(zip({root / "in/d"}, root / "secret.zip", {"secret"}), success);
    for (const Tool& tool : tools) {
        if (!shell(tool.test)) {
            std::puts((std::string("skipped, not installed: ") + tool.name).c_str());
            continue;
        }
        const Scratch out;
        EXPECT_TRUE(shell(in_folder(out.url(), root / "plain.zip", tool.unpack))) << tool.name;
        expect_same(tool, out.url(), root / "in");
        if (!tool.unpack_with_password)
            continue;
        const Scratch secret;
        EXPECT_TRUE(shell(in_folder(secret.url(), root / "secret.zip", tool.unpack_with_password)))
            << tool.name;
        expect_same(tool, secret.url(), root / "in");
    }
}

TEST(OtherTools, make_what_is_unpacked_here)
{
    const Scratch root;
    make_common_tree(root / "in");
    for (const Tool& tool : tools) {
        if (!shell(tool.test)) {
            std::puts((std::string("skipped, not installed: ") + tool.name).c_str());
            continue;
        }
        for (const char* command : {tool.pack, tool.pack_with_password}) {
            if (!command)
                continue;
            const Scratch out;
            std::filesystem::create_directory(out / "out");
            ASSERT_TRUE(shell(in_folder(root / "in", out / "a.zip", command))) << tool.name;
            EXPECT_EQ(unzip(out / "a.zip", out / "out", {"secret"}), success) << tool.name;
            expect_same(tool, out / "out", root / "in");
            if (command == tool.pack_with_password) {
                EXPECT_EQ(unzip(out / "a.zip", out / "out", {"wrong"}),
                          "unzip: The password is wrong.")
                    << tool.name;
            }
        }
    }
}

TEST(OtherTools, links_are_kept_both_ways)
{
    const Scratch root;
    make_tree(root.url(), {"d/f=1", "d/l->f", "ours/", "theirs/"});
    if (!shell("zip -v && unzip -v"))
        GTEST_SKIP() << "zip or unzip is not installed";
    ASSERT_EQ(zip({root / "d"}, root / "a.zip"), success);
    ASSERT_TRUE(shell(in_folder(root / "theirs", root / "a.zip", "unzip -q $A")));
    ASSERT_TRUE(shell(in_folder(root.url(), root / "b.zip", "zip -qry $A d")));
    ASSERT_EQ(unzip(root / "b.zip", root / "ours"), success);
    for (const char* folder : {"ours", "theirs"})
        EXPECT_EQ(tree(root / folder), (std::vector<std::string>{"d/", "d/f=1", "d/l->f"}));
}

} // namespace
} // namespace orv::test
