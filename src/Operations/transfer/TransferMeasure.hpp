#pragma once

#include "Operations/transfer/TransferRun.hpp"

#include <vector>

namespace orv {

/// Adds up what the sources hold, as far as it has to be copied, and has it settled what to do
/// about all that is found to stand in the way. Returns the sources that are to be transferred;
/// items in them that are not are noted in `run`. What cannot be looked at counts nothing.
///
/// Cancel: throws `Exception`.
/// Errors: `TransferEnd`, if the policy is to stop.
[[nodiscard]] std::vector<TransferSource> measured(TransferRun& run,
                                                   std::vector<TransferSource> sources);

} // namespace orv
