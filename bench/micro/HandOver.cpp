#include "micro/Micro.hpp"

#include <orv/utility/MainQueue.hpp>

#include <vector>

namespace orv::bench {
namespace {

/// The hand-over of `range(0)` statuses at once from a background thread to the main thread.
void hand_over(benchmark::State& state)
{
    constexpr int hand_overs = 1000;
    const std::vector<int> batch(static_cast<std::size_t>(state.range(0)), 1);
    std::int64_t taken = 0;
    const std::function<void(int)> closure = [&](int status) { taken += status; };
    for ([[maybe_unused]] auto _ : state)
        serve_main_queue_during([&] {
            for (int i = 0; i < hand_overs; ++i)
                main_sync([&] {
                    for (const int status : batch)
                        closure(status);
                });
        });
    count_items(state, taken);
}
BENCHMARK(hand_over)->Arg(1)->Arg(64)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
} // namespace orv::bench
