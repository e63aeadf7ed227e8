#pragma once

#include "Operations/frame/PauseGate.hpp"
#include "Operations/frame/Tally.hpp"

namespace orv {

/// The state a request's worker shares with its observers.
struct OperationState {
    Tally tally;
    PauseGate pause;
};

} // namespace orv
