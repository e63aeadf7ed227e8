#include "faults/PulledVolumes.hpp"

#include "support/Tree.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <map>

#include <sys/xattr.h>

namespace orv::test {
namespace {

namespace fs = std::filesystem;

constexpr std::array pulled_names{"copy_tree_to",     "copy_tree_from", "copy_replace_tree",
                                  "move_tree_in",     "move_tree_out",  "move_replace_in",
                                  "move_tree_within", "rename_file",    "delete_tree",
                                  "write_replace",    "zip_replace",    "unzip_to"};

/// By path, what stands there.
using Places = std::map<std::string, std::string>;

Places places_of(const Items& home, const Items& volume)
{
    Places places;
    const auto add = [&](const std::string& root, const Items& items) {
        for (const std::string& item : items)
            places[root + item.substr(0, item.find_first_of(">|="))] = item;
    };
    add("H/", home);
    add("V/", volume);
    return places;
}

std::string at(const Places& places, const std::string& path)
{
    const auto found = places.find(path);
    return found == places.end() ? "nothing" : found->second;
}

/// What is neither as before nor as after, or gone before all is there that was asked for.
std::string wrong_with(const Places& before, const Places& after, const Places& now)
{
    std::string wrong;
    Places all = before;
    all.insert(after.begin(), after.end());
    all.insert(now.begin(), now.end());
    const bool is_all_there = std::ranges::all_of(
        after, [&](const auto& item) { return at(now, item.first) == item.second; });
    for (const auto& [path, item] : all) {
        const std::string here = at(now, path);
        if (here != at(before, path) && here != at(after, path))
            wrong += " " + path + " is " + here;
        else if (here != at(before, path) && at(before, path) != "nothing" && !is_all_there &&
                 here == "nothing")
            wrong += " " + path + " is lost";
    }
    return wrong;
}

/// A start on a busy machine may end before it has settled all: it waits for a second only.
VolumeRun start_until_settled(const VolumePlace& place, const Url& log)
{
    const auto last_moment = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    VolumeRun start;
    do
        start = run_at(place, log, "$ORV ls $H");
    while (start.code == 0 && !unfinished_noted_at(log).empty() &&
           std::chrono::steady_clock::now() < last_moment);
    return start;
}

} // namespace

const std::vector<Pull>& pulls()
{
    static const std::vector<Pull> all{{"the server dies", "die-at="},
                                       {"unmounted lazily", "detach-at="}};
    return all;
}

std::vector<VolumeRequest> pulled_requests()
{
    std::vector<VolumeRequest> requests = volume_requests();
    std::erase_if(requests, [](const VolumeRequest& request) {
        return std::ranges::find(pulled_names, request.name) == pulled_names.end();
    });
    return requests;
}

PulledOutcome pull(const VolumeRequest& request, const Pull& pull, long at)
{
    Scratch home;
    const Url log = home / "log";
    fs::create_directories(log.appending("home"));
    MountedKind volume;
    const VolumePlace place{fs::path(home / "work"), fs::path(volume.url()) / "work"};
    const fs::path shown = fs::path(volume.seed()) / "work";
    make_items(place.home, request.home);
    make_items(shown, request.volume);
    volume.mount(odd_kind(pull.rule + std::to_string(at)));
    const VolumeRun ran = run_at(place, log, request.orv);
    // Asks the server: what the kernel remembers of a dead one would do for other calls.
    const bool is_reached = ::getxattr(volume.url().path().c_str(), "user.calls", nullptr, 0) < 0;
    volume.unmount();
    if (!fs::is_empty(volume.url()))
        return {is_reached, "it wrote below the place where the volume was mounted"};
    if (ran.code != 0 && !ran.failed_with_sentence())
        return {is_reached, "ended with code " + std::to_string(ran.code) + ": " + ran.errors};

    if (pull.rule == pulls().front().rule && ran.code != 0 &&
        ran.errors.find("volume") == std::string::npos)
        return {is_reached, "it does not tell that the volume is away: " + ran.errors};

    volume.mount(odd_kind(""));
    const VolumeRun next = start_until_settled(place, log);
    const Places after = places_of(items_of(request.home_after), items_of(request.volume_after));
    const Places now = places_of(items_below(place.home), items_below(shown));
    std::string wrong =
        wrong_with(places_of(items_of(request.home), items_of(request.volume)), after, now);
    if (ran.code == 0 && now != after)
        wrong += " success, but not all is there";
    if (const Items noted = unfinished_noted_at(log); next.code != 0 || !noted.empty())
        wrong += " the next starts left" + joined(noted) + " " + next.errors;
    return {is_reached, wrong.empty() ? "" : wrong + ", told: " + ran.errors};
}

} // namespace orv::test
