#pragma once

#include <iostream>

namespace orv::test {

/// Of how many calls a sweep tries one.
inline long step_of_sweeps()
{
    if (!ORV_IS_SANITIZED)
        return 1;
    std::cout << "Every 13th call only: with a sanitizer each run takes many times as long.\n";
    return 13;
}

} // namespace orv::test
