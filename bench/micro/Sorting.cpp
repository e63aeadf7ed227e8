#include "micro/Micro.hpp"

#include <orv/Misc/FileItem.hpp>

#include <vector>

#include <fmt/format.h>

namespace orv::bench {
namespace {

/// Sorting a list by name.
void sorted_item(benchmark::State& state)
{
    std::vector<FileItem> unsorted(static_cast<std::size_t>(state.range(0)));
    for (std::size_t i = 0; i < unsorted.size(); ++i)
        unsorted[i].name = fmt::format("Holiday {:08x}.JPG", 2654435761U * i);
    for ([[maybe_unused]] auto _ : state) {
        state.PauseTiming();
        std::vector<FileItem> items = unsorted;
        state.ResumeTiming();
        orv_sort(items, SortType::by_name(SortOrder::asc));
    }
    count_items(state, state.iterations() * state.range(0));
}
BENCHMARK(sorted_item)->Arg(1000)->Arg(100'000)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace orv::bench
