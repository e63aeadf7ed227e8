#pragma once

#include <orv/utility/FunctionRef.hpp>

namespace orv {

/// Calls around each attempt of a move to give the item its new name. An item on another volume has
/// two attempts.
struct AroundNaming {
    FunctionRef<void()> before; ///< throws to end the move
    FunctionRef<void()> failed; ///< the item did not get the name
};

/// Makes the attempt; it throws or returns an errno on failure. Returns 0 or the errno.
inline int attempt_naming(const AroundNaming& around, FunctionRef<int()> attempt)
{
    around.before();
    try {
        const int code = attempt();
        if (code != 0)
            around.failed();
        return code;
    } catch (...) {
        around.failed();
        throw;
    }
}

inline constexpr auto nothing_around = [] {};

} // namespace orv
