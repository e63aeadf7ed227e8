#pragma once

#include <functional>
#include <string>
#include <vector>

namespace orv::test {

/// What is done to a command at one of its calls that open or change files.
struct Fault {
    enum class Kind {
        none,
        kill,  ///< `hook` runs, if there is one, and the process ends before the call happens
        error, ///< the call does not happen and fails with `code`
        pause, ///< the call waits until `hook` has run
    };

    Kind kind = Kind::none;
    long at = 0; ///< the call, counted from 1 over all threads and children of the command
    int code = 0;
    std::function<void()> hook = {};
    std::string only = {}; ///< count only calls whose text matches this regular expression
};

/// What the file systems seem to lack while a command is supervised, as older and foreign ones do.
struct Lacking {
    bool unnamed_files = false; ///< files that have no name until they are linked
    bool renaming_with_flags = false;
    bool links = false; ///< second names of one file
    bool attributes = false;
    bool renaming_between_folders = false; ///< as if each folder were a volume of its own
};

/// How a command ended that was supervised.
struct Supervision {
    std::vector<std::string> calls; ///< as `call_below` shows them, in their order
    std::string hit;    ///< the call that the fault met; empty when there were fewer calls
    int exit_code = -1; ///< -1 when a signal ended it
    int signal = 0;
    bool hung = false;  ///< it had to be ended, since it did not within the time allowed
    std::string errors; ///< what it wrote to standard error
};

/// Runs `command`, does what `fault` says, and waits until all its threads and children have ended.
/// Calls count that concern files below the folder `root`. Not seen: reads, and writes to mapped
/// memory. Needs no privileges.
///
/// Errors: `std::runtime_error` where the kernel lets no process be supervised.
[[nodiscard]] Supervision supervise(const std::vector<std::string>& command,
                                    const std::string& root, const Fault& fault = {},
                                    const Lacking& lacking = {});

} // namespace orv::test
