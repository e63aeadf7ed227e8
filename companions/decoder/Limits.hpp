#pragma once

#include <cstdint>

namespace orv::decoder {

/// Sets what holds for the process to its end: it dies with the application, writes to no file, and
/// takes no more memory than the largest pictures need.
/// It may still open files, to read them.
void limit_process();

/// Takes from this process what a decoder has no use for: every call that reaches beyond what it
/// has open. To be called when everything is loaded and open that reading needs.
///
/// Errors: an `Error` when the kernel cannot do it: then no file may be read.
void confine_process();

/// From here on one file is read: the kernel ends the process when that takes too much processor
/// time, also while the application is stopped.
void allow_time_for_a_file();

/// While a file is read, the memory that the process may take beyond what it has, as the kernel
/// counts its private data. What a large file took goes back to the system at the end.
///
/// Units: bytes.
class FileMemory {
public:
    explicit FileMemory(std::uint64_t most);
    ~FileMemory();
    FileMemory(const FileMemory&) = delete;
    FileMemory& operator=(const FileMemory&) = delete;

private:
    std::uint64_t most_;
};

} // namespace orv::decoder
