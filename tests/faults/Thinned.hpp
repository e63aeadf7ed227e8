#pragma once

#include <iostream>

namespace orv::test {

/// Of how many calls a sweep tries one, when it tries one of `step` usually.
inline long step_of_sweep(long step)
{
    if (!ORV_IS_SANITIZED)
        return step;
    std::cout << "Every 31st call only: with a sanitizer each run takes many times as long.\n";
    return 31;
}

} // namespace orv::test
