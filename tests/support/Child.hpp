#pragma once

#include "utility/FileDescriptor.hpp"

#include <string>
#include <vector>

#include <sys/types.h>

namespace orv::test {

/// Another process at work, with its standard output at hand; killed at the end if it still lives.
class Child {
public:
    /// Starts the program `arguments[0]`.
    explicit Child(const std::vector<std::string>& arguments);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// The next line that it writes, without the line break; empty when it has ended.
    std::string read_line();

    /// All that it still writes, until it ends.
    std::string read_all();

    /// Kills it at once, as a crash would.
    void kill();

private:
    pid_t id_ = -1;
    FileDescriptor output_;
};

} // namespace orv::test
