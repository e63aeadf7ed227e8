#pragma once

#include "utility/FileDescriptor.hpp"

#include <orv/utility/Url.hpp>

namespace orv::picture {

/// Starts a program, in a process group of its own, that has nothing of this process but its
/// environment and `socket`, as the descriptor `socket_in_program`, which is above the standard
/// ones. Gives its process descriptor, which stands for it even when the application waits for any
/// child, or for none.
///
/// Errors: an `Error` when it cannot be started.
[[nodiscard]] FileDescriptor start_program(const Url& program, int socket, int socket_in_program);

/// Kills the program and waits for its end.
void end_program(const FileDescriptor& process) noexcept;

} // namespace orv::picture
