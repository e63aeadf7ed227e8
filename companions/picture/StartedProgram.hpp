#pragma once

#include "utility/FileDescriptor.hpp"

#include <orv/utility/Url.hpp>

#include <span>
#include <string>

#include <sys/types.h>

namespace orv::picture {

/// A program at work in a process of its own. Its end kills the process and waits for it.
///
/// Threading: one thread at a time.
class StartedProgram {
public:
    /// Starts the program with one argument, in a session of its own. It inherits nothing of this
    /// process but its environment and `descriptors`, as its descriptors 3, 4 and so on.
    ///
    /// Errors: an `Error` if it does not start.
    StartedProgram(const Url& program, const std::string& argument,
                   std::span<const int> descriptors);
    ~StartedProgram();
    StartedProgram(const StartedProgram&) = delete;
    StartedProgram& operator=(const StartedProgram&) = delete;

    [[nodiscard]] bool is_alive() const;

    /// Its process number, to look at the process by. Another process may have it once this one has
    /// died and the application has waited for any child.
    [[nodiscard]] pid_t id() const { return id_; }

private:
    pid_t id_ = -1;
    FileDescriptor process_; ///< stands for it even when the application waits for any child
};

} // namespace orv::picture
