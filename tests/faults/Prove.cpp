/// Injects faults into requests and into other commands that do the same, prints what was lost, and
/// tries all kinds of volume.
///
///     orv_prove [VOLUME | pulled]    only the kinds of volume whose names contain VOLUME, or only
///                                    volumes that go away

#include "faults/ChangedUnderneath.hpp"
#include "faults/Mount.hpp"
#include "faults/Peers.hpp"
#include "faults/PowerCut.hpp"
#include "faults/ProveVolumes.hpp"
#include "faults/Sweep.hpp"

#include <cerrno>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string_view>

namespace {

using namespace orv::test;

// Each of five outages is tried at these calls, on disks that are made anew each time.
constexpr long step_of_power_cuts = 3;

void print_row(const std::string& family, const Tally& tally)
{
    std::printf("%-56s %8ld %10ld %6ld\n", family.c_str(), tally.injected, tally.survived(),
                tally.lost);
    std::fflush(stdout);
}

void print_problems(const Tally& tally)
{
    for (const std::string& problem : tally.problems)
        std::printf("    %s\n", problem.c_str());
}

Tally prove_request(const FaultCase& request)
{
    const Tally killed = sweep(request, Fault::Kind::kill, 0);
    print_row(request.name + ": killed before a call", killed);
    Tally failed;
    for (const int code : {ENOSPC, EIO, EACCES})
        failed += sweep(request, Fault::Kind::error, code);
    print_row(request.name + ": a call fails", failed);
    Tally both = killed;
    both += failed;
    print_problems(both);
    return both;
}

Tally prove_requests()
{
    Tally all;
    const auto obstacle = Mount::obstacle();
    for (const FaultCase& request : fault_cases()) {
        if (request.needs_volume && obstacle)
            std::printf("%s: left out, since %s\n", request.name.c_str(), obstacle->c_str());
        else
            all += prove_request(request);
    }
    return all;
}

Tally prove_changes()
{
    Tally all;
    for (const Change& change : changes())
        if (!fault_case(change.request).needs_volume || !Mount::obstacle())
            all += sweep(change);
    print_row("changed underneath while a call waits", all);
    print_problems(all);
    return all;
}

Tally prove_power_cuts()
{
    Tally all;
    for (const char* file_system : {"ext4", "xfs"}) {
        const auto obstacle = obstacle_to_power_cuts(file_system);
        if (obstacle) {
            std::printf("power cuts: left out, since %s\n", obstacle->c_str());
            continue;
        }
        for (const PowerCase& cut : power_cases()) {
            const Tally tally = sweep(cut, file_system, step_of_power_cuts);
            print_row(cut.request.name + ": power cut on " + file_system, tally);
            print_problems(tally);
            all += tally;
        }
    }
    return all;
}

bool is_installed(const std::string& program)
{
    return std::filesystem::exists("/usr/bin/" + program) ||
           std::filesystem::exists("/bin/" + program);
}

/// The command without the folder that it is run in.
std::vector<std::string> words_of(const std::vector<std::string>& command)
{
    return {command.begin() + (command.front() == "env" ? 3 : 0), command.end()};
}

void show_peers()
{
    std::printf("\nOther commands, killed before a call\n");
    for (const FaultCase& request : fault_cases())
        for (const auto& command : request.peers)
            if (const auto words = words_of(command);
                is_installed(words[0]) && !(request.needs_volume && Mount::obstacle()))
                print_row(request.name + ": " + words[0] + " " + words[1],
                          sweep_peer(request, command));
}

} // namespace

int main(int count, char** arguments)
try {
    if (count > 1 && arguments[1] == std::string("pulled"))
        return prove_pulled_volumes() == 0 ? 0 : 1;
    if (count > 1)
        return std::string_view(arguments[1]) == "power" ? prove_power_cuts().lost != 0
                                                         : prove_volumes(arguments[1]) != 0;
    std::printf("%-56s %8s %10s %6s\n", "orv", "faults", "survived", "lost");
    Tally all = prove_requests();
    all += prove_changes();
    all += prove_power_cuts();
    print_row("all", all);
    show_peers();
    const int failed = prove_volumes("") + prove_pulled_volumes();
    return all.lost == 0 && failed == 0 ? 0 : 1;
} catch (const std::exception& error) {
    std::fprintf(stderr, "prove: %s\n", error.what());
    return 2;
}
