#pragma once

#include <orv/Operations/TransferOpr.hpp>

namespace orv::app {

/// Writes what the transfer would do, an item a line: "new", "replace", "merge", "keep both",
/// "leave" or "ask", and the place that is meant. Changes nothing.
///
/// Errors: `Error` where the transfer would refuse to begin; those of `LargeOutput`.
void show_dry_run(const TransferPlan& plan);

} // namespace orv::app
