#include "faults/PulledVolumes.hpp"
#include "faults/Site.hpp"
#include "support/Child.hpp"
#include "support/Tree.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <ostream>
#include <sstream>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/xattr.h>

namespace orv::test {
namespace {

/// Those that fail in most of the ways that there are; `make prove` tries the others, too.
std::vector<std::string> kinds_of_suite()
{
    if (ORV_IS_SANITIZED)
        return {"odd: no links", "odd: poorest"};
    return {"exfat-fuse",
            "ntfs-3g",
            "sshfs",
            "sshfs, no extensions",
            "rclone, cache off",
            "rclone, cache writes",
            "mergerfs",
            "archivemount",
            "squashfuse",
            "odd: no rename with flags",
            "odd: no links",
            "odd: one direction",
            "odd: no flush",
            "odd: attributes fail",
            "odd: modes fail",
            "odd: dates fail",
            "odd: sizes unknown",
            "odd: no link count",
            "odd: any case",
            "odd: any case, no rename with flags",
            "odd: little kept",
            "odd: poorest"};
}

class Volumes : public testing::TestWithParam<std::string> {
protected:
    void SetUp() override
    {
        if (const auto obstacle = obstacle_to(volume_kind(GetParam())))
            GTEST_SKIP() << *obstacle;
    }
};

TEST_P(Volumes, get_all_that_they_can_hold_or_a_sentence)
{
    const VolumeTrial trial(volume_kind(GetParam()));
    for (const VolumeRequest& request : volume_requests())
        if (request.is_quick)
            if (const VolumeOutcome outcome = trial.run(request);
                outcome.kind == VolumeOutcome::Kind::failed)
                ADD_FAILURE() << request.name << ": " << outcome.text;
}

/// It is slow, and `make prove` tries the rest.
TEST(SmbVolume, gets_a_tree)
{
    const VolumeKind& kind = volume_kind("SMB, rclone");
    if (const auto obstacle = obstacle_to(kind))
        GTEST_SKIP() << *obstacle;
    const auto requests = volume_requests();
    const auto& request = *std::ranges::find(requests, "copy_tree_to", &VolumeRequest::name);
    const VolumeOutcome outcome = VolumeTrial(kind).run(request);
    EXPECT_EQ(outcome.kind, VolumeOutcome::Kind::done) << outcome.text;
}

std::string test_name(const testing::TestParamInfo<std::string>& info)
{
    std::string name = info.param;
    std::ranges::replace_if(
        name, [](char c) { return !std::isalnum(c); }, '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Kinds, Volumes, testing::ValuesIn(kinds_of_suite()), test_name);

class PulledVolumes : public testing::TestWithParam<const char*> {};

TEST_P(PulledVolumes, lose_nothing)
{
    if (const auto obstacle = obstacle_to(odd_kind("")))
        GTEST_SKIP() << *obstacle;
    constexpr long step = 11;
    const auto requests = pulled_requests();
    const auto& request = *std::ranges::find(requests, GetParam(), &VolumeRequest::name);
    for (const Pull& way : pulls()) {
        bool is_reached = true;
        for (long at = 1; is_reached; at += step) {
            const PulledOutcome outcome = pull(request, way, at);
            EXPECT_EQ(outcome.problem, "") << way.name << " at call " << at;
            is_reached = outcome.reached;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Requests, PulledVolumes,
                         testing::Values("copy_tree_to", "copy_replace_tree", "move_tree_in",
                                         "move_tree_out", "unzip_to"),
                         [](const auto& request) { return std::string(request.param); });

/// A kind of volume that can stop to answer, and go on.
struct Freezing {
    std::string name;
    std::string mount;
    std::function<void(const Url& volume, bool stops)> freeze;
};

void PrintTo(const Freezing& kind, std::ostream* to)
{
    *to << kind.name;
}

void freeze_disk(const Url& volume, bool stops)
{
    const FileDescriptor root(::open(volume.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    EXPECT_EQ(::ioctl(root.get(), stops ? FIFREEZE : FITHAW, 0), 0);
}

/// Stops the server of a volume of the tests' own.
void freeze_server(const Url& volume, bool stops)
{
    static pid_t server = 0; // which tells it only while it runs
    std::array<char, 16> text{};
    if (stops && ::getxattr(volume.path().c_str(), "user.server", text.data(), text.size() - 1) > 0)
        server = std::stoi(text.data());
    EXPECT_EQ(::kill(server, stops ? SIGSTOP : SIGCONT), 0);
}

class FrozenVolumes : public testing::TestWithParam<Freezing> {};

TEST_P(FrozenVolumes, hold_up_no_start_and_are_settled_when_they_answer)
{
    const Freezing& kind = GetParam();
    const VolumeKind volume_kind{.name = kind.name, .mount = kind.mount, .programs = {"mkfs.ext4"}};
    if (const auto obstacle = obstacle_to(volume_kind))
        GTEST_SKIP() << *obstacle;
    Scratch home;
    MountedKind volume;
    volume.mount(volume_kind);
    const std::string uuid = "8d9619ff-8b86-4011-b42d-00c04fc964ff";
    const Url left = volume.url().appending("." + uuid + ".orvresume");
    const Url notes = home / ".cache/orv/tmp/__orv_proc_files__";
    make_tree(left, {"unfinished=1"});
    make_tree(home.url(), {"shelf/item="});
    make_tree(notes, {uuid + ".note=" + left.path()});
    const auto orv = [&] {
        return std::make_unique<Child>(std::vector<std::string>{
            orv_command(), "--home", home.url().path(), "ls", (home / "shelf").path()});
    };
    kind.freeze(volume.url(), true);
    const auto stuck = orv();
    EXPECT_EQ(stuck->read_line(), "item");
    kind.freeze(volume.url(), false);
    EXPECT_EQ(stuck->read_all(), "");
    // A start on a busy machine may end before it has settled all: it waits for a second only.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    do
        EXPECT_EQ(orv()->read_all(), "item\n");
    while (!tree(notes).empty() && std::chrono::steady_clock::now() < deadline);
    EXPECT_EQ(tree(notes), std::vector<std::string>());
    EXPECT_FALSE(std::filesystem::exists(left.path()));
}

const Freezing freezing_kinds[] = {
    {"disk",
     "truncate -s 16M $SPARE/image && mkfs.ext4 -q $SPARE/image && mount -o loop $SPARE/image "
     "$MOUNT",
     freeze_disk},
    {"server", odd_kind("").mount, freeze_server}};

INSTANTIATE_TEST_SUITE_P(Kinds, FrozenVolumes, testing::ValuesIn(freezing_kinds),
                         [](const auto& kind) { return kind.param.name; });

using Calls = std::map<std::string, long>;

/// What a volume has to do for a command, by call. The files "f…" in $H have few bytes each, and
/// "big" has many.
class WorkOfVolume {
public:
    explicit WorkOfVolume(const std::string& rules)
    {
        std::filesystem::create_directories(home_ / "log/home");
        make_items(home_ / "work/small", "f1 f2 f3 f4 f5 f6 f7 f8 f9 fa fb fc fd fe ff fg");
        make_items(home_ / "work", "big");
        volume_.mount(odd_kind(rules));
    }

    Calls for_command(const std::string& command)
    {
        const std::string root = volume_.url().path();
        ::setxattr(root.c_str(), "user.calls", "", 0, 0);
        EXPECT_EQ(run_at({home_ / "work", root}, home_ / "log", command).code, 0) << command;
        std::array<char, 4096> text{};
        ::getxattr(root.c_str(), "user.calls", text.data(), text.size() - 1);
        std::istringstream words(text.data());
        Calls calls;
        for (std::string call; words >> call;)
            words >> calls[call];
        return calls;
    }

private:
    Scratch home_;
    MountedKind volume_;
};

long sum_of(const Calls& calls)
{
    long sum = 0;
    for (const auto& [call, count] : calls)
        sum += count;
    return sum;
}

std::string told(const Calls& calls)
{
    std::string text;
    for (const auto& [call, count] : calls)
        text += " " + call + " " + std::to_string(count);
    return text;
}

/// How many calls more than `cp -a` makes a small file may cost on a volume with such rules, in a
/// folder and chosen with others.
struct CallBound {
    const char* rules;
    long in_folder;
    long chosen;
};

class CallsOfVolume : public testing::TestWithParam<CallBound> {
protected:
    void SetUp() override
    {
        if (const auto obstacle = obstacle_to(odd_kind("")))
            GTEST_SKIP() << *obstacle;
    }
};

class BatchOfVolume : public CallsOfVolume {};

TEST_P(CallsOfVolume, are_few_more_for_a_small_file)
{
    constexpr long files = 16;
    constexpr long for_folder = 15; // which is looked at more often than by the other command
    WorkOfVolume work(GetParam().rules);
    const auto compare = [&](const std::string& items, const std::string& folder, long bound) {
        const Calls other = work.for_command("cp -a " + items + " $V/other" + folder);
        const Calls own = work.for_command("umask 022; $ORV cp " + items + " $V/own" + folder);
        EXPECT_LE(sum_of(own), sum_of(other) + bound * files + for_folder)
            << "own:" << told(own) << "\nother:" << told(other);
    };
    work.for_command("mkdir $V/other $V/own $V/other/chosen $V/own/chosen");
    compare("$H/small", "", GetParam().in_folder);
    compare("$H/small/*", "/chosen", GetParam().chosen);
}

/// A rename looks at the new name and is a call itself, and a mode from the start saves one. A link
/// and its removal are two calls; where there are no links, the name is looked at twice. A chosen
/// file gets its mode at the end, and is looked at for an undo, but the other command looks at it
/// more often.
INSTANTIATE_TEST_SUITE_P(Rules, CallsOfVolume,
                         testing::Values(CallBound{"", 1, 1}, CallBound{"renameat2=EINVAL", 2, 2},
                                         CallBound{"renameat2=EINVAL link=EPERM", 2, 2}),
                         [](const auto& bound) { return "rules_" + std::to_string(bound.index); });

TEST_F(BatchOfVolume, learns_once_for_a_whole_batch_how_to_rename)
{
    constexpr long files = 16;
    WorkOfVolume work("renameat2=EINVAL link=EPERM");
    work.for_command("cp -a $H/small $V/small && mkdir $V/other $V/copies");
    const Calls moved = work.for_command("$ORV mv $V/small/* $V/other");
    const Calls copied = work.for_command("$ORV cp $H/small/* $V/copies");
    for (Calls calls : {moved, copied}) {
        EXPECT_EQ(calls["rename"], files + 1) << told(calls); // with flags only once
        EXPECT_EQ(calls["link"], 1) << told(calls);
    }
}

class BlocksOfVolume : public CallsOfVolume {};

TEST_F(BlocksOfVolume, are_large)
{
    constexpr long blocks = 6; // of 128 KiB, in which the file is moved
    WorkOfVolume work("");
    EXPECT_LE(work.for_command("$ORV cp $H/big $V/big")["write"], blocks);
    EXPECT_LE(work.for_command("$ORV mv $V/big $H/back")["read"], blocks);
}

} // namespace
} // namespace orv::test
