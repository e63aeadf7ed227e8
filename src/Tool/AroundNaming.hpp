#pragma once

#include <orv/utility/FunctionRef.hpp>

namespace orv {

/// Calls that a move makes around each attempt to give the item its new name. An item that turns
/// out to lie on another volume has two.
struct AroundNaming {
    FunctionRef<void()> before; ///< throws to end the move
    FunctionRef<void()> failed; ///< the item did not get the name
};

/// Makes the attempt, which throws or returns an errno if it fails, and returns 0 or the errno.
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
