#pragma once

#include "Operations/frame/PauseGate.hpp"
#include "Operations/frame/Tally.hpp"

namespace orv {

/// What the worker of a request and those who watch it share.
struct OperationState {
    Tally tally;
    PauseGate pause;
};

} // namespace orv
