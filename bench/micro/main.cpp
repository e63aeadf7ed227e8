#include "Files.hpp"
#include "Workplace.hpp"
#include "micro/Micro.hpp"
#include "utility/WorkerPool.hpp"

#include <orv/orv.hpp>

#include <atomic>
#include <cstdio>
#include <exception>

#include <fmt/format.h>

namespace orv::bench {
namespace {

const Workplace& workplace()
{
    static const Workplace the_workplace(ORV_BENCH_FOLDER, 0);
    return the_workplace;
}

int main(int argc, char** argv)
try {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    Locations locations;
    locations.home_dir = micro_folder();
    locations.app_support_dir = micro_folder() + "/support";
    locations.temp_dir = micro_folder() + "/tmp";
    OrvFileManager::configure(locations);
    OrvFileManager::create_singleton();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "orv_micro: %s\n", error.what());
    return 1;
}

} // namespace

const std::string& micro_folder()
{
    return workplace().folder();
}

std::string make_folder_of_files(const std::string& name, int count)
{
    const std::string path = micro_folder() + "/" + name;
    const FileDescriptor folder = make_folder(path);
    for (int i = 0; i < count; ++i)
        make_file(folder.get(), fmt::format("file {}.txt", i)).reset();
    return path;
}

void serve_main_queue_during(const std::function<void()>& task)
{
    std::atomic<bool> done = false;
    bg_async([&] {
        task();
        main_sync([&] { done = true; });
    });
    MainQueue::instance().run_until([&] { return done.load(); });
}

void count_items(benchmark::State& state, std::int64_t count)
{
    state.counters["per_item"] = benchmark::Counter(
        static_cast<double>(count), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

} // namespace orv::bench

int main(int argc, char** argv)
{
    return orv::bench::main(argc, argv);
}
