#include "Files.hpp"
#include "Measure.hpp"
#include "micro/Micro.hpp"

#include <orv/Misc/FileItem.hpp>

#include <cstdint>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <unistd.h>

namespace orv::bench {
namespace {

std::string name(std::size_t number)
{
    return fmt::format("Holiday {:08x}.JPG", static_cast<std::uint32_t>(2654435761U * number));
}

/// Sorting a list by name.
void sorted_item(benchmark::State& state)
{
    std::vector<FileItem> unsorted(static_cast<std::size_t>(state.range(0)));
    for (std::size_t i = 0; i < unsorted.size(); ++i)
        unsorted[i].name = name(i);
    for ([[maybe_unused]] auto _ : state) {
        state.PauseTiming();
        std::vector<FileItem> items = unsorted;
        state.ResumeTiming();
        orv_sort(items, SortType::by_name(SortOrder::asc));
    }
    count_items(state, state.iterations() * state.range(0));
}
BENCHMARK(sorted_item)->Arg(1000)->Arg(100'000)->Unit(benchmark::kMillisecond);

/// The same names sorted by `sort -f`, a process of its own.
void sorted_line(benchmark::State& state)
{
    const std::string path = micro_folder() + "/names";
    std::string lines;
    for (std::size_t i = 0; i < static_cast<std::size_t>(state.range(0)); ++i)
        lines += name(i) + "\n";
    write_all(make_file(AT_FDCWD, path).get(), lines);
    for ([[maybe_unused]] auto _ : state)
        run_program({"sort", "-f", path});
    ::unlink(path.c_str());
    count_items(state, state.iterations() * state.range(0));
}
BENCHMARK(sorted_line)->Arg(100'000)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
} // namespace orv::bench
