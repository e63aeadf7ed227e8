#include "faults/VolumeRequests.hpp"

#include "faults/Site.hpp"
#include "faults/VolumeItems.hpp"
#include "support/Tree.hpp"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include <sys/wait.h>

namespace orv::test {

namespace fs = std::filesystem;

namespace {

/// How a rename ends that is done, but for the date that it gives.
constexpr const char* date_not_set = "Couldn't update modification date";

} // namespace

bool VolumeRun::failed_with_sentence() const
{
    return code == 1 && !errors.empty() && errors.find('\n') == std::string::npos;
}

VolumeRun run_at(const VolumePlace& place, const Url& log, const std::string& command)
{
    const std::string text = "cd " + place.home.string() + " && export V=" + place.volume.string() +
                             " ORV='" + orv_command() + " --home " + log.path() +
                             "/home' H=" + place.home.string() + " && timeout -s KILL 20 sh -c '" +
                             command + "' >" + log.path() + "/output 2>" + log.path() + "/errors";
    const int status = std::system(text.c_str());
    std::string errors = read_file(log.appending("errors"));
    if (errors.ends_with('\n'))
        errors.pop_back();
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read_file(log.appending("output")),
            errors};
}

Items unfinished_noted_at(const Url& log)
{
    return items_below(fs::path(log) / "home/.cache/orv/tmp/__orv_proc_files__");
}

/// What one of the two commands works on.
struct VolumeTrial::Work : VolumePlace {
    void fill(const VolumeRequest& request, bool is_filled_already) const
    {
        make_items(home, request.home);
        if (!is_filled_already)
            make_items(volume, request.volume);
        if (items_below(volume) != items_of(request.volume))
            throw std::runtime_error("what the request needs can't be made there");
    }

    [[nodiscard]] bool is_done(const VolumeRequest& request, const VolumeRun& ran,
                               bool is_slow) const
    {
        using namespace std::chrono_literals;
        const auto deadline = std::chrono::steady_clock::now() + 5s;
        while (!is_done(request, ran)) {
            if (!is_slow || std::chrono::steady_clock::now() > deadline)
                return false;
            std::this_thread::yield();
        }
        return true;
    }

    [[nodiscard]] bool is_done(const VolumeRequest& request, const VolumeRun& ran) const
    {
        return items_below(home) == items_of(request.home_after) &&
               items_below(volume) == items_of(request.volume_after) &&
               ran.output.find(request.told) != std::string::npos;
    }

    [[nodiscard]] Items lost_of(const VolumeRequest& request) const
    {
        Items lost = without(items_of(request.home), items_below(home));
        lost.merge(without(items_of(request.volume), items_below(volume)));
        return lost;
    }

    /// What is neither from before nor part of what was asked for.
    [[nodiscard]] Items left_by(const VolumeRequest& request) const
    {
        Items left = without(without(items_below(home), items_of(request.home)),
                             items_of(request.home_after));
        left.merge(without(without(items_below(volume), items_of(request.volume)),
                           items_of(request.volume_after)));
        return left;
    }
};

VolumeTrial::VolumeTrial(const VolumeKind& kind) : kind_(kind)
{
    fs::create_directories(log_.appending("home"));
    if (kind_.is_read_only)
        for (const VolumeRequest& request : volume_requests())
            for (const char* who : {"orv", "peer"})
                make_items(fs::path(volume_.seed()) / request.name / who, request.volume);
    volume_.mount(kind);
}

VolumeTrial::Work VolumeTrial::work_of(const VolumeRequest& request, const char* who) const
{
    return {
        {fs::path(home_.url()) / request.name / who, fs::path(volume_.url()) / request.name / who}};
}

VolumeOutcome VolumeTrial::run(const VolumeRequest& request) const
{
    if (items_of(kind_.not_tried).contains(request.name))
        return {VolumeOutcome::Kind::not_possible, "not tried"};
    const Work place = work_of(request, "orv");
    const Work other = work_of(request, "peer");
    try {
        place.fill(request, kind_.is_read_only);
        other.fill(request, kind_.is_read_only);
    } catch (const std::exception& error) {
        return {VolumeOutcome::Kind::not_possible, error.what()};
    }
    if (request.needs_one_spelling && !fs::exists(place.volume.parent_path() / "ORV"))
        return {VolumeOutcome::Kind::not_possible, "names differ in case"};

    const VolumeRun peer = run_at(other, log_, request.peer);
    const VolumeRun orv = run_at(place, log_, request.orv);
    const bool other_can = !kind_.is_read_only &&
                           other.is_done(request, peer, peer.code == 0 && kind_.is_slow_to_show);
    const bool is_documented = orv.errors.find(date_not_set) != std::string::npos;
    if ((orv.code == 0 || is_documented) && place.is_done(request, orv, kind_.is_slow_to_show))
        return request.keeps_all && !kind_.is_forgetful ? lacks_of(place, other) : VolumeOutcome{};
    if (orv.code == 0 && peer.code == 0 && !other_can)
        return {VolumeOutcome::Kind::spoilt, "the other command believes that it succeeded, too"};
    const std::string wrong = wrong_with(request, place, orv, other_can);
    if (wrong.empty())
        return {VolumeOutcome::Kind::refused, orv.errors};
    return {VolumeOutcome::Kind::failed, wrong + ", told: " + orv.errors};
}

/// A request that did all has kept what the other command keeps, and left no note.
VolumeOutcome VolumeTrial::lacks_of(const Work& place, const Work& other) const
{
    Items lacks = not_kept(place.home, other.home);
    lacks.merge(not_kept(place.volume, other.volume));
    lacks.merge(unfinished_noted_at(log_));
    if (lacks.empty())
        return {};
    return {VolumeOutcome::Kind::failed, "not kept, or left:" + joined(lacks)};
}

/// What is wrong with a request that did not do all, or an empty text.
std::string VolumeTrial::wrong_with(const VolumeRequest& request, const Work& place,
                                    const VolumeRun& ran, bool other_can) const
{
    if (ran.code == 0)
        return "success, but home has" + joined(items_below(place.home)) + ", volume has" +
               joined(items_below(place.volume)) + ", written: " + ran.output;
    if (!ran.failed_with_sentence())
        return "ended with code " + std::to_string(ran.code);
    if (const Items lost = place.lost_of(request); !lost.empty())
        return "lost" + joined(lost);
    if (const Items left = place.left_by(request); !left.empty())
        return "left" + joined(left);
    if (!kind_.is_read_only && ran.errors.find(request.refusal) == std::string::npos)
        return "it does not say: " + request.refusal;
    return other_can ? "the other command can" : "";
}

} // namespace orv::test
