#pragma once

#include "Rounds.hpp"

#include <string>
#include <vector>

namespace orv::bench {

/// What is said before the figures: the machine and how busy it is.
[[nodiscard]] std::string heading(const Bench& bench, bool markdown);

/// The figures of one task. Each tool has a line with the time that ours took as a part of its own;
/// where a bar is set, it says whether that was met.
[[nodiscard]] std::string report(const Benchmark& benchmark, const std::vector<Row>& rows,
                                 bool markdown);

/// What is said of a task that is not measured.
[[nodiscard]] std::string skipped(const Benchmark& benchmark, const std::string& reason,
                                  bool markdown);

} // namespace orv::bench
