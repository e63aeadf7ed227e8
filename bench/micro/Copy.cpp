#include "Files.hpp"
#include "micro/Micro.hpp"

#include <orv/orv.hpp>

#include <fmt/format.h>

namespace orv::bench {
namespace {

/// A folder of `count` files of 4 KiB.
std::string make_source(int count)
{
    std::string path = make_folder_of_files(fmt::format("source of {}", count), 0);
    RandomBytes bytes(4096);
    for (int i = 0; i < count; ++i)
        write_all(make_file(AT_FDCWD, fmt::format("{}/file {}.bin", path, i)).get(), bytes.next());
    return path;
}

void copy(const std::string& from, const std::string& to)
{
    bool succeeded = false;
    const auto take = [&](const CopyOperation::Status& status) {
        succeeded = std::holds_alternative<status::success>(status);
    };
    const auto operation = OrvFileManager::singleton().copy(from, to, take);
    MainQueue::instance().run_until([&] { return !operation->is_busy(); });
    if (!succeeded)
        throw Error("The copy failed.").at(from);
}

/// One request that copies a folder of `range(0)` small files.
void copied_file(benchmark::State& state)
{
    static int next_copy = 0;
    const int count = static_cast<int>(state.range(0));
    const std::string source = make_source(count);
    for ([[maybe_unused]] auto _ : state)
        copy(source, fmt::format("{}/copy {}", micro_folder(), next_copy++));
    count_items(state, state.iterations() * count);
}
BENCHMARK(copied_file)->Arg(1)->Iterations(500)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(copied_file)->Arg(1000)->Iterations(5)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
} // namespace orv::bench
