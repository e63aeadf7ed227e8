#include "Report.hpp"
#include "Workplace.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <cstdio>
#include <exception>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace orv::bench {
namespace {

struct Options {
    std::string folder = ORV_BENCH_FOLDER;
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
    app.add_option("--orv", options.orv, "The command to measure")->capture_default_str();
    app.add_option("--only", options.only, "Measure these tasks only")->check(CLI::IsMember(names));
    app.add_option("--runs", options.runs, "How often each tool runs")
        ->check(CLI::Range(1, 100))
        ->capture_default_str();
    app.add_flag("--quick", options.quick, "Little data, to see that it works");
    app.add_flag("--markdown", options.markdown, "Print a table for a web page");
}

/// What all that is measured may need at most.
std::int64_t needed_bytes(const Sizes& sizes, int runs)
{
    constexpr std::int64_t block = 4096;
    constexpr int copies_per_run = 7; // of the small tree: by five tools, and two to delete
    const std::int64_t tree = block * sizes.small_folders * (sizes.files_per_small_folder + 1);
    return 3 * sizes.big_file_bytes + copies_per_run * (runs + 2) * tree;
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

void run(const Options& options)
{
    const Sizes sizes = options.quick ? Sizes::quick() : Sizes();
    const Workplace workplace(options.folder, needed_bytes(sizes, options.runs));
    const Bench bench{options.orv, workplace.folder(), options.runs};
    Data data(workplace.folder(), sizes);
    print(heading(bench, options.markdown));
    for (const Benchmark& benchmark : benchmarks(sizes))
        if (is_chosen(options, benchmark))
            print(report(benchmark, measure(benchmark, data, bench), options.markdown));
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
