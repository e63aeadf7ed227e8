#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include <benchmark/benchmark.h>

namespace orv::bench {

/// The program's own folder, empty at first, below which the engine keeps all of its files.
[[nodiscard]] const std::string& micro_folder();

/// Makes a folder of `count` empty files below the program's folder and returns its path.
std::string make_folder_of_files(const std::string& name, int count);

/// Runs `task` in the background while this thread serves the main queue.
void serve_main_queue_during(const std::function<void()>& task);

/// Shows the time per item, of which `count` were done in all.
void count_items(benchmark::State& state, std::int64_t count);

} // namespace orv::bench
