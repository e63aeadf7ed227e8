#pragma once

#include <orv/utility/Error.hpp>

#include <string>

namespace orv {

/// The error of a failed move, for other ways to move.
[[nodiscard]] Error move_error(const Error& cause);

/// The error of a move with a complete destination that is still not done, for the reason `what`.
/// Without it the error would mislead.
[[nodiscard]] Error error_at_destination(const std::string& what, const Error& cause);

/// The error of a walk over a root that does not open, for other ways to walk.
[[nodiscard]] Error enumerator_error(const Error& cause);

/// The error of a walk over a missing root.
[[nodiscard]] Error missing_root_error();

} // namespace orv
