#include "Report.hpp"
#include "Workplace.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <optional>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <sys/stat.h>

namespace orv::bench {
namespace {

struct Options {
    std::string folder = ORV_BENCH_FOLDER;
    std::string other_folder;
    std::string orv = ORV_BENCH_COMMAND;
    std::vector<std::string> only;
    int runs = 5;
    bool quick = false;
    bool markdown = false;
};

void add_options(CLI::App& app, Options& options, const std::vector<std::string>& names)
{
    app.add_option("--dir", options.folder, "Work in a new folder in this one")
        ->capture_default_str();
    app.add_option(
           "--other-dir", options.other_folder,
           "For moves between volumes, work also in a new folder in this one, which lies on "
           "another volume than that of --dir")
        ->envname("ORV_BENCH_OTHER_DIR");
    app.add_option("--orv", options.orv, "The command to measure")->capture_default_str();
    app.add_option("--only", options.only, "Measure these tasks only")->check(CLI::IsMember(names));
    app.add_option("--runs", options.runs, "How often each tool runs")
        ->check(CLI::Range(1, 100))
        ->capture_default_str();
    app.add_flag("--quick", options.quick, "Little data, to see that it works");
    app.add_flag("--markdown", options.markdown, "Print a table for a web page");
}

constexpr std::int64_t block = 4096;

/// What the given number of copies of the small tree needs, for each run of each tool.
std::int64_t tree_bytes(const Sizes& sizes, int runs, int copies_per_run)
{
    const std::int64_t tree = block * sizes.small_folders * (sizes.files_per_small_folder + 1);
    return copies_per_run * (runs + 2) * tree;
}

std::int64_t texts_bytes(const Sizes& sizes)
{
    return (sizes.text_bytes + block) * sizes.text_folders * sizes.texts_per_folder;
}

/// What all that is measured may need at most.
std::int64_t needed_bytes(const Sizes& sizes, int runs)
{
    constexpr int copies_per_run = 12; // by five tools; to delete two, to move five
    return 3 * sizes.big_file_bytes + texts_bytes(sizes) + 3 * sizes.mixed_bytes +
           tree_bytes(sizes, runs, copies_per_run);
}

void print(const std::string& text)
{
    std::fputs(text.c_str(), stdout);
    std::fflush(stdout);
}

bool is_chosen(const Options& options, const Benchmark& benchmark)
{
    return options.only.empty() || std::find(options.only.begin(), options.only.end(),
                                             benchmark.name) != options.only.end();
}

/// The folder on another volume, if one was given.
class OtherVolume {
public:
    OtherVolume(const Options& options, const Sizes& sizes)
    {
        constexpr int copies_per_run = 3;
        if (!options.other_folder.empty())
            folder_.emplace(options.other_folder, tree_bytes(sizes, options.runs, copies_per_run));
    }

    [[nodiscard]] std::string path() const { return folder_ ? folder_->path() : ""; }

private:
    std::optional<ScratchFolder> folder_;
};

dev_t volume_of(const std::string& folder)
{
    struct stat facts {};
    return ::stat(folder.c_str(), &facts) == 0 ? facts.st_dev : 0;
}

/// Why `benchmark` cannot be measured here; empty when it can.
std::string obstacle(const Benchmark& benchmark, const Bench& bench)
{
    if (benchmark.kind != Benchmark::Kind::move_between_volumes)
        return "";
    if (bench.other_folder.empty())
        return "no other volume is there: bench/run.sh mounts one as root, or give --other-dir";
    if (volume_of(bench.other_folder) == volume_of(bench.folder))
        return "--dir and --other-dir lie on one volume";
    return "";
}

void run(const Options& options)
{
    const Sizes sizes = options.quick ? Sizes::quick() : Sizes();
    const Workplace workplace(options.folder, needed_bytes(sizes, options.runs));
    const OtherVolume other_volume(options, sizes);
    const Bench bench{options.orv, workplace.folder(), other_volume.path(), options.runs};
    Data data(workplace.folder(), sizes);
    print(heading(bench, options.markdown));
    for (const Benchmark& benchmark : benchmarks(sizes)) {
        if (!is_chosen(options, benchmark))
            continue;
        if (const std::string reason = obstacle(benchmark, bench); !reason.empty())
            print(skipped(benchmark, reason, options.markdown));
        else
            print(report(benchmark, measure(benchmark, data, bench), options.markdown));
    }
}

int main(int argc, char** argv)
try {
    std::vector<std::string> names;
    for (const Benchmark& benchmark : benchmarks(Sizes()))
        names.push_back(benchmark.name);
    Options options;
    CLI::App app("Measures orv beside other tools, on the same data in turns.", "orv_bench");
    add_options(app, options, names);
    CLI11_PARSE(app, argc, argv);
    run(options);
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "orv_bench: %s\n", error.what());
    return 1;
}

} // namespace
} // namespace orv::bench

int main(int argc, char** argv)
{
    return orv::bench::main(argc, argv);
}
