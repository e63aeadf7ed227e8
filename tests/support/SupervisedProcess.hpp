#pragma once

#include "utility/FileDescriptor.hpp"

#include <string>
#include <vector>

#include <sys/types.h>

namespace orv::test {

/// A command in a process group of its own whose watched calls wait for an answer.
class SupervisedProcess {
public:
    struct Ending {
        int exit_code = -1; ///< -1 when a signal ended it
        int signal = 0;
    };

    /// Starts `command`, without input and with its output dropped.
    ///
    /// Errors: `std::runtime_error`.
    explicit SupervisedProcess(const std::vector<std::string>& command);
    ~SupervisedProcess();
    SupervisedProcess(const SupervisedProcess&) = delete;
    SupervisedProcess& operator=(const SupervisedProcess&) = delete;

    /// Where its calls arrive; hung up once all its threads and children have ended.
    [[nodiscard]] int listener() const { return listener_.get(); }

    /// Ends the whole group at once.
    void kill() const;

    Ending wait();

    /// What the command wrote to standard error.
    [[nodiscard]] std::string errors() const;

private:
    FileDescriptor errors_;
    FileDescriptor listener_;
    pid_t id_ = -1;
};

} // namespace orv::test
