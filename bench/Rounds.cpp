#include "Rounds.hpp"

#include "Files.hpp"

#include <orv/utility/Error.hpp>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <utility>

#include <fmt/format.h>
#include <unistd.h>

namespace orv::bench {
namespace {

bool is_installed(const std::string& program)
{
    const char* path = std::getenv("PATH");
    std::istringstream folders(path ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');)
        if (::access((folder + "/" + program).c_str(), X_OK) == 0)
            return true;
    return false;
}

std::string replaced(std::string word, const std::string& placeholder, const std::string& value)
{
    if (const auto at = word.find(placeholder); at != std::string::npos)
        word.replace(at, placeholder.size(), value);
    return word;
}

/// The runs of one task's tools.
class Rounds {
public:
    Rounds(const Benchmark& benchmark, Data& data, const Bench& bench)
        : benchmark_(benchmark), bench_(bench),
          source_(benchmark.source ? (data.*benchmark.source)() : "")
    {
        for (const Tool& tool : benchmark.tools)
            if (tool.program.empty() || is_installed(tool.program))
                entrants_.push_back({&tool, {}, 0});
    }

    void run()
    {
        if (takes_copies())
            make_copies();
        run_round(0);
        for (Entrant& entrant : entrants_)
            entrant.runs.clear();
        for (int round = 1; round <= bench_.runs; ++round)
            run_round(static_cast<std::size_t>(round));
    }

    [[nodiscard]] Row row_of(const Tool& tool) const
    {
        for (const Entrant& entrant : entrants_)
            if (entrant.tool == &tool)
                return {tool.name, summary(entrant.runs), entrant.file_bytes};
        return {tool.name, std::nullopt};
    }

private:
    struct Entrant {
        const Tool* tool;
        std::vector<Usage> runs;
        std::int64_t file_bytes;
    };

    /// The place that the run number `run` copies to or removes.
    [[nodiscard]] std::string destination(std::size_t run) const
    {
        return fmt::format("{}/{} {}{}", bench_.folder, benchmark_.name, run,
                           benchmark_.kind == Benchmark::Kind::pack ? ".zip" : "");
    }

    [[nodiscard]] bool takes_copies() const
    {
        switch (benchmark_.kind) {
        case Benchmark::Kind::read:
        case Benchmark::Kind::copy:
        case Benchmark::Kind::pack:
        case Benchmark::Kind::unpack:
            return false;
        case Benchmark::Kind::remove:
        case Benchmark::Kind::move:
        case Benchmark::Kind::move_between_volumes:
            break;
        }
        return true;
    }

    /// The place of what the run number `run` works on.
    [[nodiscard]] std::string source(std::size_t run) const
    {
        switch (benchmark_.kind) {
        case Benchmark::Kind::read:
        case Benchmark::Kind::copy:
        case Benchmark::Kind::pack:
        case Benchmark::Kind::unpack:
            return source_;
        case Benchmark::Kind::remove:
            return destination(run);
        case Benchmark::Kind::move:
            return fmt::format("{}/{} from {}", bench_.folder, benchmark_.name, run);
        case Benchmark::Kind::move_between_volumes:
            break;
        }
        return fmt::format("{}/{} from {}", bench_.other_folder, benchmark_.name, run);
    }

    void make_copies() const
    {
        const std::size_t count = entrants_.size() * static_cast<std::size_t>(bench_.runs + 1);
        for (std::size_t run = 0; run < count; ++run)
            run_program({"cp", "-a", source_, source(run)});
    }

    void run_round(std::size_t round)
    {
        for (std::size_t i = 0; i < entrants_.size(); ++i)
            run_tool(entrants_[(i + round) % entrants_.size()]);
    }

    void run_tool(Entrant& entrant)
    {
        const std::size_t run = next_run_++;
        const std::string place = destination(run);
        settle(bench_.folder);
        if (benchmark_.kind == Benchmark::Kind::move_between_volumes)
            settle(bench_.other_folder);
        entrant.runs.push_back(run_program(command_of(*entrant.tool, source(run), place)));
        check_outcome(*entrant.tool, source(run), place);
        if (benchmark_.kind == Benchmark::Kind::pack)
            entrant.file_bytes = static_cast<std::int64_t>(std::filesystem::file_size(place));
        if (is_removed_at_once(place))
            std::filesystem::remove_all(place);
    }

    [[nodiscard]] bool is_removed_at_once(const std::string& place) const
    {
        return benchmark_.kind == Benchmark::Kind::pack ||
               benchmark_.kind == Benchmark::Kind::unpack ||
               (benchmark_.kind == Benchmark::Kind::copy &&
                std::filesystem::is_regular_file(place));
    }

    [[nodiscard]] std::vector<std::string> command_of(const Tool& tool, const std::string& source,
                                                      const std::string& place) const
    {
        std::vector<std::string> command = tool.command;
        for (std::string& word : command) {
            word = replaced(std::move(word), "{orv}", bench_.orv);
            word = replaced(std::move(word), "{source}", source);
            word = replaced(std::move(word), "{destination}", place);
        }
        return command;
    }

    void check_outcome(const Tool& tool, const std::string& source, const std::string& place) const
    {
        check_exists(tool, place,
                     benchmark_.kind != Benchmark::Kind::read &&
                         benchmark_.kind != Benchmark::Kind::remove);
        if (takes_copies())
            check_exists(tool, source, false);
    }

    static void check_exists(const Tool& tool, const std::string& place, bool should_exist)
    {
        if (std::filesystem::exists(place) != should_exist)
            throw Error(fmt::format("\"{}\" ended well, but {} {}.", tool.name, place,
                                    should_exist ? "is missing" : "is still there"));
    }

    const Benchmark& benchmark_;
    const Bench& bench_;
    std::string source_;
    std::vector<Entrant> entrants_;
    std::size_t next_run_ = 0;
};

} // namespace

std::vector<Row> measure(const Benchmark& benchmark, Data& data, const Bench& bench)
{
    Rounds rounds(benchmark, data, bench);
    rounds.run();
    std::vector<Row> rows;
    for (const Tool& tool : benchmark.tools)
        rows.push_back(rounds.row_of(tool));
    return rows;
}

} // namespace orv::bench
