#pragma once

#include <orv/utility/Error.hpp>

namespace orv {

/// The kinds of failed database calls a person can do something about.
enum class DatabaseFault {
    damaged,      ///< a damaged file, or no database at all
    inaccessible, ///< the file or its folder is missing, or access is denied
    full,         ///< no space left
    busy,         ///< another process kept it for too long
    other,
};

[[nodiscard]] DatabaseFault database_fault(const Error& error);
[[nodiscard]] Cause cause_of(DatabaseFault fault);

} // namespace orv
