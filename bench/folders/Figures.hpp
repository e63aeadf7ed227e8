#pragma once

#include <orv/utility/FunctionRef.hpp>

#include <chrono>
#include <string>

#include <time.h>

namespace orv::bench {

using Clock = std::chrono::steady_clock;

[[nodiscard]] double ms_since(Clock::time_point start);

/// What a clock of processor time shows. Units: milliseconds.
[[nodiscard]] double processor_ms(clockid_t clock);

/// Prints a figure beside its aim.
void print_row(const std::string& what, double figure, const char* unit, double aim);

/// Drains the main queue until `predicate` holds. The longest turn, in processor time of the main
/// thread.
double busiest_turn_ms(FunctionRef<bool()> predicate);

} // namespace orv::bench
