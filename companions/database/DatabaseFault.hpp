#pragma once

#include <orv/utility/Error.hpp>

namespace orv {

/// What a person can do something about when a database call fails.
enum class DatabaseFault {
    damaged,      ///< the file is damaged, or no database at all
    inaccessible, ///< the file or its folder is missing, or may not be read or written
    full,         ///< no space is left
    busy,         ///< another process kept it for too long
    other,
};

[[nodiscard]] DatabaseFault database_fault(const Error& error);

} // namespace orv
