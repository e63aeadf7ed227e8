#include "faults/PowerCut.hpp"

#include "faults/Checker.hpp"
#include "faults/Mount.hpp"
#include "faults/Site.hpp"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <memory>
#include <stdexcept>

namespace orv::test {
namespace {

/// A site whose home and one other place lie on disks of their own.
class PoweredSite {
public:
    PoweredSite(const PowerCase& cut, const std::string& file_system)
        : cut_(cut), memory_(Mount::tmpfs(images_.url())), site_(cut.request.before),
          home_(images_.url(), file_system), disk_(images_.url(), file_system)
    {
        site_.lack(cut.request.lacking);
        site_.give_input(cut.request.input);
        home_.mount(place_of_home());
        std::filesystem::create_directory(site_.root().appending("home/disk").path());
        disk_.mount(place_of_disk());
        site_.reset();
        site_.forget_living();
        unmount();
        home_.save();
        disk_.save();
    }

    Trial try_at(long at, const Outage& outage)
    {
        home_.restore();
        disk_.restore();
        home_.mount(place_of_home());
        disk_.mount(place_of_disk());
        const auto cut_power = [&] {
            disk_.cut_power(outage.disk);
            home_.cut_power(outage.home);
        };
        const Supervision ending = site_.run(
            cut_.request.arguments, {.kind = Fault::Kind::kill, .at = at, .hook = cut_power});
        if (ending.hit.empty())
            cut_power();
        unmount();
        return {!ending.hit.empty(), ending.hit + " " + outage.name,
                problems_after(outage, ending)};
    }

    Trial try_after_end(const Outage& outage)
    {
        Trial trial = try_at(std::numeric_limits<long>::max(), outage);
        trial.hit = true;
        trial.call = "after the end" + trial.call;
        return trial;
    }

private:
    std::vector<std::string> problems_after(const Outage& outage, const Supervision& ending)
    {
        home_.mount(place_of_home());
        std::vector<std::string> problems;
        if (outage.is_disk_away && !site_.start_again())
            problems.emplace_back("the library does not start without the other disk");
        disk_.mount(place_of_disk());
        const bool is_done = ending.exit_code == 0;
        if (!is_done && ending.hit.empty())
            problems.push_back("it failed: " + ending.errors);
        for (const auto& problem :
             wrong_after_power_cut(cut_.request, site_, cut_.promise, is_done))
            problems.push_back(problem);
        unmount();
        return problems;
    }

    void unmount()
    {
        disk_.unmount();
        home_.unmount();
    }

    [[nodiscard]] Url place_of_home() const { return site_.root().appending("home"); }
    [[nodiscard]] Url place_of_disk() const { return site_.root().appending(cut_.disk_at); }

    const PowerCase& cut_;
    Scratch images_;
    Mount memory_;
    Site site_;
    Disk home_;
    Disk disk_;
};

PowerCase cut(const std::string& request, Promise promise)
{
    return {fault_case(request), promise};
}

PowerCase cut_at_volume(const std::string& request, Promise promise)
{
    return {fault_case(request), promise, "volume"};
}

} // namespace

const std::vector<PowerCase>& power_cases()
{
    static const std::vector<PowerCase> all{
        cut("rename", Promise::old_or_new),
        cut("move", Promise::old_or_new),
        cut("move that replaces", Promise::old_or_new),
        cut("move of several", Promise::old_or_new),
        cut("move to another volume", Promise::all),
        cut("move of a file to another volume", Promise::all),
        cut("move to another volume that replaces", Promise::all),
        cut("write", Promise::all),
        cut("write that replaces", Promise::all),
        cut("zip", Promise::all),
        cut("zip that replaces", Promise::all),
        cut_at_volume("zip to another volume by renaming", Promise::all),
        cut("copy", Promise::originals),
        cut("replace", Promise::originals),
        cut("replace without flags", Promise::originals),
        cut_at_volume("copy to another volume by renaming", Promise::originals),
        cut("unzip by renaming", Promise::originals),
    };
    return all;
}

const std::vector<Outage>& outages()
{
    constexpr auto nothing = Disk::Reached::nothing;
    constexpr auto names = Disk::Reached::names;
    static const std::vector<Outage> all{
        {"at_once", nothing, nothing},        {"names_of_home", names, nothing},
        {"names_of_disk", nothing, names},    {"all_of_home", Disk::Reached::all, nothing},
        {"disk_is_away", names, names, true},
    };
    return all;
}

Tally sweep(const PowerCase& cut, const std::string& file_system, long step)
{
    const auto count = static_cast<long>(outages().size());
    const auto make_trial = [&]() -> std::function<Trial(long)> {
        return [&, place = std::make_shared<PoweredSite>(cut, file_system)](long trial) {
            const Outage& outage = outages()[static_cast<std::size_t>((trial - 1) % count)];
            const long round = (trial - 1) / count;
            if (round == 0)
                return place->try_after_end(outage);
            return place->try_at((step + 1) / 2 + step * (round - 1), outage);
        };
    };
    return sweep(make_trial);
}

std::optional<std::string> obstacle_to_power_cuts(const std::string& file_system)
try {
    const Scratch images;
    const Scratch place;
    Disk disk(images.url(), file_system);
    disk.mount(place.url());
    disk.cut_power(Disk::Reached::nothing);
    return std::nullopt;
} catch (const std::runtime_error& error) {
    return "no power can be cut on " + file_system + ": " + error.what();
}

} // namespace orv::test
