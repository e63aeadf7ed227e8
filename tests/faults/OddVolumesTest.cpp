#include "faults/Checker.hpp"
#include "faults/Mount.hpp"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#include <ostream>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

namespace fs = std::filesystem;

/// Mounts something in the site, with what it needs in the spare folder.
using MakeVolume = std::function<Mount(const Url& root, const Url& spare)>;

struct OddVolume {
    std::string name;
    MakeVolume mount;
    int code = 0; ///< of the error that the copy ends with; 0 when it succeeds
    std::string request = "copy to another volume";
    Lacking lacking = {};
};

void PrintTo(const OddVolume& volume, std::ostream* to)
{
    *to << volume.name;
}

MakeVolume tmpfs_at(const std::string& place, const std::string& options)
{
    return
        [=](const Url& root, const Url&) { return Mount::tmpfs(root.appending(place), options); };
}

Mount read_only_volume(const Url& root, const Url&)
{
    Mount mount = Mount::tmpfs(root.appending("volume"));
    mount.make_read_only();
    return mount;
}

Mount same_volume_again(const Url& root, const Url& spare)
{
    return Mount::bound(spare, root.appending("volume"));
}

/// Folders and files of the sample tree that any file system can hold.
FaultCase plain_copy()
{
    FaultCase request = fault_case("copy to another volume");
    request.arguments = {"cp", "@home/shelf/tree/sub", "@volume/sub"};
    take_away(request.after.items, "volume/tree");
    for (const auto& [path, item] : sample_tree())
        if (is_at_or_below(path, "sub"))
            request.after.items["volume/" + path] = item;
    return request;
}

class OddVolumes : public testing::TestWithParam<OddVolume> {
protected:
    void SetUp() override
    {
        if (const auto obstacle = Mount::obstacle())
            GTEST_SKIP() << *obstacle;
    }

    Scratch spare_;
};

TEST_P(OddVolumes, get_all_or_a_clear_error)
{
    const OddVolume& odd = GetParam();
    const FaultCase& request = fault_case(odd.request);
    Site site(request.before);
    site.lack(odd.lacking);
    site.give_input(request.input);
    const Mount volume = odd.mount(site.root(), spare_.url());
    site.reset();
    const Supervision ending = site.run(request.arguments);
    EXPECT_EQ(ending.exit_code, odd.code == 0 ? 0 : 1) << ending.errors;
    const Fault told{.kind = Fault::Kind::error, .code = odd.code};
    for (const std::string& problem : wrong_after(request, site, told, ending))
        ADD_FAILURE() << problem;
}

TEST(PoorFileSystem, gets_all_but_the_attributes)
{
    FaultCase request = fault_case("copy");
    for (auto& [path, item] : request.after.items)
        if (is_at_or_below(path, "home/dest/tree"))
            item.extended_attributes.clear();
    Site site(request.before);
    site.lack(
        {.unnamed_files = true, .renaming_with_flags = true, .links = true, .attributes = true});
    site.reset();
    const Supervision ending = site.run(request.arguments);
    EXPECT_EQ(ending.exit_code, 0) << ending.errors;
    EXPECT_EQ(wrong_after(request, site, {}, ending), std::vector<std::string>());
}

const OddVolume odd_volumes[] = {
    {"full", tmpfs_at("volume", "size=64k"), ENOSPC},
    {"full_without_unnamed_files",
     tmpfs_at("volume", "size=64k"),
     ENOSPC,
     "copy to another volume by renaming",
     {.unnamed_files = true}},
    {"without_free_inodes", tmpfs_at("volume", "nr_inodes=6"), ENOSPC},
    {"read_only", read_only_volume, EROFS},
    {"same_volume_again", same_volume_again},
    {"same_volume_again_without_unnamed_files",
     same_volume_again,
     0,
     "copy to another volume",
     {.unnamed_files = true}},
    {"same_volume_again_without_renaming",
     same_volume_again,
     0,
     "copy to another volume",
     {.unnamed_files = true, .renaming_with_flags = true}},
    {"room_for_one_copy", tmpfs_at("volume", "size=300k"), 0,
     "copy to another volume without room for both"},
    {"room_for_one_move", tmpfs_at("home/disk", "size=300k"), 0,
     "move to another volume that replaces without room for both"},
    {"room_for_one_written_file", tmpfs_at("volume", "size=300k"), 0,
     "write without room for both"},
};

INSTANTIATE_TEST_SUITE_P(Volumes, OddVolumes, testing::ValuesIn(odd_volumes),
                         [](const auto& volume) { return volume.param.name; });

class FullHome : public OddVolumes {};

/// One after the other the content, a folder, a row, and the database itself find no space. A copy
/// that is refused beforehand does not open the database, which may find none, either.
TEST_F(FullHome, loses_nothing_wherever_space_ends)
{
    const FaultCase& request = fault_case("copy");
    constexpr int room_for_scene_kib = 204;
    constexpr int room_for_all_kib = 380;
    for (int kib = room_for_scene_kib; kib < room_for_all_kib; kib += 4) {
        SCOPED_TRACE(std::to_string(kib) + " KiB");
        Site site(request.before);
        const Mount home =
            Mount::tmpfs(site.root().appending("home"), "size=" + std::to_string(kib) + "k");
        site.reset();
        const Supervision ending = site.run(request.arguments);
        const auto tells = [&](const char* text) {
            return ending.errors.find(text) != std::string::npos;
        };
        const bool cannot_start =
            tells("can't be used") || (tells("has room for") && !site.start_again());
        EXPECT_TRUE(!cannot_start || tells("has room for") ||
                    ending.errors.find("Free some space on its volume.") != std::string::npos)
            << ending.errors;
        const Fault told{.kind = Fault::Kind::error, .code = ENOSPC};
        const std::vector<std::string> none;
        if (!cannot_start) {
            EXPECT_EQ(wrong_after(request, site, told, ending), none) << ending.errors;
        }
    }
}

/// A volume that has neither links nor permissions nor extended attributes, and coarse times.
class PoorVolume : public OddVolumes {};

TEST_F(PoorVolume, gets_the_content)
{
    const Url image = spare_ / "image";
    const std::string make = "mkfs.vfat -C " + image.path() + " 4096 >/dev/null 2>&1";
    if (std::system(make.c_str()) != 0)
        GTEST_SKIP() << "mkfs.vfat is not installed";
    const FaultCase request = plain_copy();
    Site site(request.before);
    std::optional<Mount> volume;
    try {
        volume.emplace(Mount::image(image, site.root().appending("volume"), "vfat"));
    } catch (const std::runtime_error& error) {
        GTEST_SKIP() << error.what();
    }
    site.reset();
    const Supervision ending = site.run(request.arguments);
    EXPECT_EQ(ending.exit_code, 0) << ending.errors;
    EXPECT_EQ(wrong_items(request, site.items(), Strictness::content), std::vector<std::string>());
    EXPECT_EQ(site.items().at("volume/sub/c.bin").content, pattern(9'000));
}

} // namespace
} // namespace orv::test
