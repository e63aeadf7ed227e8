#include "faults/ProveVolumes.hpp"

#include "faults/PulledVolumes.hpp"

#include <array>
#include <cstdio>
#include <map>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace orv::test {
namespace {

using Kind = VolumeOutcome::Kind;
using Counts = std::map<Kind, int>;

/// The columns of the table, with how the names of their requests begin.
constexpr std::array columns{std::pair{"copy", "copy_"},     std::pair{"move", "move_"},
                             std::pair{"rename", "rename_"}, std::pair{"delete", "delete_"},
                             std::pair{"folder", "make_"},   std::pair{"write", "write"},
                             std::pair{"zip", "zip_"},       std::pair{"unzip", "unzip_"},
                             std::pair{"one item", "same_"}, std::pair{"read", "read_"}};

/// "done", or how many of the requests ended otherwise.
std::string cell_of(Counts counts)
{
    if (counts[Kind::failed] > 0)
        return "FAILED " + std::to_string(counts[Kind::failed]);
    if (counts[Kind::spoilt] > 0)
        return "spoilt " + std::to_string(counts[Kind::spoilt]);
    if (counts[Kind::refused] > 0)
        return (counts[Kind::done] > 0 ? "but " : "no ") + std::to_string(counts[Kind::refused]);
    return counts[Kind::done] > 0 ? "done" : "-";
}

void print_line(const std::string& name, const std::map<std::string, Counts>& counts)
{
    std::printf("%-36s", name.c_str());
    for (const auto& [column, prefix] : columns)
        std::printf(" %9s", counts.empty() ? column : cell_of(counts.at(column)).c_str());
    std::printf("\n");
    std::fflush(stdout);
}

const char* column_of(const std::string& request)
{
    for (const auto& [column, prefix] : columns)
        if (request.starts_with(prefix))
            return column;
    throw std::logic_error(request + " belongs to no column");
}

/// Tries every request on a kind of volume. Returns how many fail.
int prove_volume(const VolumeKind& kind)
try {
    if (const auto obstacle = obstacle_to(kind))
        throw std::runtime_error(*obstacle);
    const VolumeTrial trial(kind);
    std::map<std::string, Counts> counts;
    std::string texts;
    int failed = 0;
    for (const VolumeRequest& request : volume_requests()) {
        const VolumeOutcome outcome = trial.run(request);
        ++counts[column_of(request.name)][outcome.kind];
        failed += outcome.kind == Kind::failed ? 1 : 0;
        if (!outcome.text.empty() && outcome.kind != Kind::not_possible)
            texts += "    " + request.name + (outcome.kind == Kind::failed ? " FAILED: " : ": ") +
                     outcome.text + "\n";
    }
    print_line(kind.name, counts);
    std::fputs(texts.c_str(), stdout);
    return failed;
} catch (const std::runtime_error& error) {
    std::printf("%s: left out, since %s\n", kind.name.c_str(), error.what());
    return 0;
}

/// Pulls the volume at every call of a request. Returns how often something is wrong.
int prove_pulled(const VolumeRequest& request, const Pull& way)
{
    int failed = 0;
    long calls = 0;
    std::string texts;
    for (PulledOutcome outcome{.reached = true}; outcome.reached;) {
        outcome = pull(request, way, ++calls);
        failed += outcome.problem.empty() ? 0 : 1;
        if (!outcome.problem.empty())
            texts += "    at call " + std::to_string(calls) + ":" + outcome.problem + "\n";
    }
    std::printf("%-36s %9ld %9d\n%s", (request.name + ": " + way.name).c_str(), calls, failed,
                texts.c_str());
    std::fflush(stdout);
    return failed;
}

} // namespace

int prove_pulled_volumes()
{
    std::printf("\n%-36s %9s %9s\n", "pulled volumes", "pulled", "failed");
    if (const auto obstacle = obstacle_to(volume_kind("odd: direct"))) {
        std::printf("left out, since %s\n", obstacle->c_str());
        return 0;
    }
    int failed = 0;
    for (const Pull& way : pulls())
        for (const VolumeRequest& request : pulled_requests())
            failed += prove_pulled(request, way);
    return failed;
}

int prove_volumes(const std::string& wanted)
{
    print_line("\nkinds of volume", {});
    int failed = 0;
    for (const VolumeKind& kind : volume_kinds())
        if (kind.name.find(wanted) != std::string::npos)
            failed += prove_volume(kind);
    return failed;
}

} // namespace orv::test
