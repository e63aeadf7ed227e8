#pragma once

#include <orv/Operations/TransferOpr.hpp>

namespace orv::app {

/// Writes the outcome of the transfer, an item a line: "new", "replace", "merge", "keep both",
/// "leave" or "ask", and the place. Changes nothing.
///
/// Errors: `Error` where the transfer would refuse to begin; those of `LargeOutput`.
void show_dry_run(const TransferPlan& plan);

} // namespace orv::app
