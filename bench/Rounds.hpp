#pragma once

#include "Benchmark.hpp"
#include "Measure.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orv::bench {

/// Where the tools work, and how often.
struct Bench {
    std::string orv;               ///< the command under test
    std::string folder;            ///< on the volume that is measured; it is filled
    std::string other_folder = {}; ///< on another volume; empty: there is none
    int runs = 5;
};

/// A tool's figures; none when the tool is not installed.
struct Row {
    std::string tool;
    std::optional<Summary> figures;
    std::int64_t file_bytes = 0; ///< of the file that it makes, if the task is to make one
};

/// Runs every installed tool of `benchmark` once to warm up and then `runs` times. The tools take
/// turns, and another one begins each round. What they leave stays, since removing many files slows
/// down what comes after; only what is large and of few files is removed at once.
///
/// Errors: a tool that fails ends it.
[[nodiscard]] std::vector<Row> measure(const Benchmark& benchmark, Data& data, const Bench& bench);

} // namespace orv::bench
