#pragma once

#include "Operations/transfer/TransferRun.hpp"

#include <vector>

namespace orv {

/// Adds up the contents of the sources to be copied, and settles all problems found. Returns the
/// sources to transfer; notes the left-out items inside them in `run`. An item out of reach counts
/// nothing.
///
/// Cancel: throws `Exception`.
/// Errors: `TransferEnd`, if the policy is to stop.
[[nodiscard]] std::vector<TransferSource> measured(TransferRun& run,
                                                   std::vector<TransferSource> sources);

} // namespace orv
