#include "Curve.hpp"
#include "Workplace.hpp"

#include <algorithm>
#include <cstdio>
#include <exception>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace orv::bench {
namespace {

struct Options {
    std::string folder = ORV_BENCH_FOLDER;
    std::vector<std::string> only;
    bool quick = false;
    bool full = false;
};

std::vector<int> counts(const Options& options)
{
    if (options.quick)
        return {100, 1000};
    if (options.full)
        return {1000, 10'000, 100'000, 1'000'000};
    return {1000, 10'000, 100'000};
}

/// A line for each number of items; what is not flat is not in proportion to them.
void print_curve(const Curve& curve, const std::vector<int>& counts, const std::string& folder)
{
    std::printf("\n%s\n  %10s  %12s  %12s  %10s  %12s\n", curve.title, "items", "time",
                curve.per_call ? "" : "per item", "memory", "per item");
    const std::int64_t idle_bytes = run_at(curve, 0, folder).peak_bytes;
    for (const int count : counts) {
        const Usage usage = run_at(curve, count, folder);
        const auto more_bytes = static_cast<double>(usage.peak_bytes - idle_bytes);
        fmt::print("  {:>10}  {:>9.3f} ms  {:>12}  {:>7.1f} MB  {:>6.0f} bytes\n", count,
                   usage.seconds * 1e3,
                   curve.per_call ? "" : fmt::format("{:.2f} µs", usage.seconds * 1e6 / count),
                   static_cast<double>(usage.peak_bytes) / 1e6, more_bytes / count);
        std::fflush(stdout);
    }
}

bool is_chosen(const Options& options, const Curve& curve)
{
    return options.only.empty() ||
           std::find(options.only.begin(), options.only.end(), curve.name) != options.only.end();
}

int main(int argc, char** argv)
try {
    Options options;
    CLI::App app("Measures the engine on ever more items.", "orv_curves");
    app.add_option("--dir", options.folder, "Work in a new folder in this one")
        ->capture_default_str();
    app.add_option("--only", options.only, "Measure these only: listing, size, copy, …");
    app.add_flag("--quick", options.quick, "Few items, to see that it works");
    app.add_flag("--full", options.full, "Up to a million items");
    CLI11_PARSE(app, argc, argv);

    const std::vector<int> items = counts(options);
    const Workplace workplace(options.folder, 0);
    for (const Curve& curve : curves())
        if (is_chosen(options, curve))
            print_curve(curve, items, workplace.folder());
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "orv_curves: %s\n", error.what());
    return 1;
}

} // namespace
} // namespace orv::bench

int main(int argc, char** argv)
{
    return orv::bench::main(argc, argv);
}
