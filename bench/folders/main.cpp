// What a window costs that shows a folder live: orv_folders [--count N] [--dir FOLDER]
#include "Files.hpp"
#include "Workplace.hpp"
#include "folders/Figures.hpp"
#include "folders/Visible.hpp"

#include <orv/orv.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <exception>
#include <fstream>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <unistd.h>

namespace orv::bench {
namespace {

double resident_mb()
{
    std::ifstream statm("/proc/self/statm");
    long pages = 0;
    statm >> pages >> pages;
    return static_cast<double>(pages * ::sysconf(_SC_PAGESIZE)) / 1e6;
}

void run_until(const std::function<bool()>& predicate)
{
    MainQueue::instance().run_until(predicate);
}

std::string folder_of(const std::string& place, const std::string& name, int count)
{
    std::string path = place + "/" + name;
    const FileDescriptor folder = make_folder(path);
    for (int i = 0; i < count; ++i)
        static_cast<void>(make_file(folder.get(), fmt::format("file {}.txt", i)));
    return path;
}

/// A model, and how long the main thread was busy with a batch at most.
class MeasuredModel {
public:
    explicit MeasuredModel(const std::string& folder)
        : model_(folder, SortType::by_natural_name(SortOrder::asc), {},
                 {.on_rows = [](const auto&, auto apply) { apply(); }})
    {
    }

    /// Drains until `predicate` holds, and measures each turn of the main thread.
    void run_until(const std::function<bool()>& predicate)
    {
        busiest_ms_ = std::max(busiest_ms_, busiest_turn_ms(predicate));
    }

    [[nodiscard]] const FolderModel& model() const { return model_; }
    [[nodiscard]] double busiest_ms() const { return busiest_ms_; }

private:
    FolderModel model_;
    double busiest_ms_ = 0;
};

/// The wall time and the processor time of a piece of work.
struct Times {
    double wall_ms;
    double processor_ms;
};

class Timer {
public:
    [[nodiscard]] Times times() const
    {
        return {ms_since(start_), processor_ms(CLOCK_PROCESS_CPUTIME_ID) - used_before_};
    }

private:
    Clock::time_point start_ = Clock::now();
    double used_before_ = processor_ms(CLOCK_PROCESS_CPUTIME_ID);
};

Times times_of_sorted_listing(const std::string& folder)
{
    const Timer timer;
    bool is_listed = false;
    const auto operation = OrvFileManager::singleton().fetch_items(
        folder, false, SortType::by_natural_name(SortOrder::asc), false,
        [&](const auto&) { is_listed = true; });
    run_until([&] { return is_listed; });
    return timer.times();
}

void measure_listing(const std::string& folder, int count)
{
    const Times listing = times_of_sorted_listing(folder);
    const Timer timer;
    MeasuredModel shown(folder);
    shown.run_until([&] { return shown.model().size() > 0; });
    const Times first = timer.times();
    shown.run_until([&] { return shown.model().is_complete(); });
    const Times all = timer.times();
    print_row(fmt::format("first rows of {} items", count), first.wall_ms, "ms", 50);
    print_row("processor time until then", first.processor_ms, "ms", 50);
    print_row("all rows, in order, beside a sorted listing", all.wall_ms / listing.wall_ms, "", 1);
    print_row("processor time, beside a sorted listing", all.processor_ms / listing.processor_ms,
              "", 2);
    print_row("main thread, longest turn", shown.busiest_ms(), "ms", 4);
}

void measure_change(const std::string& folder)
{
    MeasuredModel shown(folder);
    shown.run_until([&] { return shown.model().is_complete(); });
    std::vector<double> latencies;
    for (int i = 0; i < 21; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100)); // idle
        const std::string name = fmt::format("new {}", i);
        const auto start = Clock::now();
        std::ofstream(folder + "/" + name).put('x');
        run_until([&] { return shown.model().row_of(name).has_value(); });
        latencies.push_back(ms_since(start));
    }
    std::nth_element(latencies.begin(), latencies.begin() + 10, latencies.end());
    print_row("a change that another program makes, median", latencies[10], "ms", 20);
}

/// Files made by another process, so that their making is not counted.
void make_files_elsewhere(const std::string& folder, int count)
{
    const std::string script = fmt::format(
        "cd '{}' && i=0; while [ $i -lt {} ]; do : > made$i; i=$((i+1)); done", folder, count);
    if (std::system(script.c_str()) != 0)
        throw std::runtime_error("The files could not be made.");
}

void measure_burst(const std::string& place, int count)
{
    const std::string folder = folder_of(place, "burst", 0);
    MeasuredModel shown(folder);
    shown.run_until([&] { return shown.model().is_complete(); });
    const double before = processor_ms(CLOCK_PROCESS_CPUTIME_ID);
    std::thread maker([&] { make_files_elsewhere(folder, count); });
    run_until([&] { return shown.model().size() == static_cast<std::size_t>(count); });
    const double burst = processor_ms(CLOCK_PROCESS_CPUTIME_ID) - before;
    maker.join();

    const double start = processor_ms(CLOCK_PROCESS_CPUTIME_ID);
    for (int i = 0; i < 2; ++i) {
        MeasuredModel listed(folder);
        run_until([&] { return listed.model().is_complete(); });
    }
    const double twice = processor_ms(CLOCK_PROCESS_CPUTIME_ID) - start;
    print_row(fmt::format("processor time for {} created files, beside listing them twice", count),
              burst / twice, "", 1);
    print_row("the same, for each file", burst * 1e3 / count, "µs", 20);
}

void measure_many(const std::string& place)
{
    constexpr int count = 1000;
    std::vector<std::string> paths;
    for (int i = 0; i < count; ++i)
        paths.push_back(folder_of(place, fmt::format("many{}", i), 3));
    const double before = resident_mb();
    std::vector<std::unique_ptr<FolderModel>> models;
    for (const std::string& path : paths)
        models.push_back(std::make_unique<FolderModel>(path, SortType::by_name(SortOrder::asc),
                                                       OrvFolder::Options{},
                                                       FolderModel::Listener{}));
    run_until([&] {
        return std::ranges::all_of(models, [](const auto& model) { return model->is_complete(); });
    });
    print_row("memory of 1000 watched folders", resident_mb() - before, "MB", 10);
    const double idle = processor_ms(CLOCK_PROCESS_CPUTIME_ID);
    MainQueue::instance().run_for(std::chrono::seconds(6));
    print_row("processor time that they take, in a second",
              (processor_ms(CLOCK_PROCESS_CPUTIME_ID) - idle) / 6, "ms", 20);
}

int main(int argc, char** argv)
try {
    std::string place = ORV_BENCH_FOLDER;
    int count = 100'000;
    CLI::App app("Measures folders that are shown live, and their thumbnails.", "orv_folders");
    app.add_option("--dir", place, "Work in a new folder in this one")->capture_default_str();
    app.add_option("--count", count, "Items of the large folder")->capture_default_str();
    CLI11_PARSE(app, argc, argv);

    const Workplace workplace(place, 0);
    OrvFileManager::configure({.home_dir = workplace.folder(),
                               .app_support_dir = workplace.folder() + "/support",
                               .temp_dir = workplace.folder() + "/tmp"});
    OrvFileManager::create_singleton();
    fmt::print("\nFolders that are shown live\n");
    measure_many(workplace.folder());
    const std::string large = folder_of(workplace.folder(), "large", count);
    measure_listing(large, count);
    measure_change(large);
    measure_burst(workplace.folder(), std::min(count, 10'000));
    measure_visible_pictures(workplace.folder(), std::min(count, 10'000));
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "orv_folders: %s\n", error.what());
    return 1;
}

} // namespace
} // namespace orv::bench

int main(int argc, char** argv)
{
    return orv::bench::main(argc, argv);
}
