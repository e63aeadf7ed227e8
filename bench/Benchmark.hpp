#pragma once

#include "Data.hpp"

#include <optional>
#include <string>
#include <vector>

namespace orv::bench {

/// One way to do a task.
struct Tool {
    std::string name;
    std::string program; ///< what must be installed for it
    /// The words of the command. "{orv}", "{source}" and "{destination}" stand for the paths.
    std::vector<std::string> command;
};

/// What the first tool of a task should reach.
struct Bar {
    enum class Of {
        time,   ///< in seconds
        size,   ///< of the file that it makes, in bytes
        memory, ///< in bytes
    };

    std::string peer; ///< the tool that it is measured by; empty: `most` is absolute
    double most = 1;  ///< as a part of what the peer takes
    Of of = Of::time;
};

/// A task, and the tools that do it; ours comes first.
struct Benchmark {
    /// What a run does to the disk.
    enum class Kind {
        read,   ///< nothing
        copy,   ///< puts a copy of the source at "{destination}"
        pack,   ///< makes one file of the source at "{destination}", named like an archive
        unpack, ///< makes a folder of the source, an archive, at "{destination}"
        remove, ///< removes a copy of the source, which is made up front, at "{destination}"
        move,   ///< moves a copy of the source, which is made up front, to "{destination}"; the
                ///< copy's place is "{source}"
        move_between_volumes, ///< the same with the copy on another volume
    };

    std::string name; ///< as `--only` takes it
    std::string title;
    Kind kind = Kind::read;
    const std::string& (Data::*source)() = nullptr;
    std::vector<Tool> tools;
    std::vector<Bar> bars = {};
};

/// All tasks, in the order in which they are to be measured: those that remove many files slow down
/// what creates files after them.
[[nodiscard]] std::vector<Benchmark> benchmarks(const Sizes& sizes);

} // namespace orv::bench
