#pragma once

#include <cstdint>

namespace orv::decoder {

/// Sets limits for the rest of the process: it dies with the application, writes to no file, and
/// takes no more memory than the largest pictures need. It may still open files for reading.
void limit_process();

/// Denies this process every call a decoder has no use for, and with it everything beyond its open
/// files. Call it once all libraries and files for the reading are loaded and open.
///
/// Errors: an `Error` if the kernel cannot do it; then no file may be read.
void confine_process();

/// Starts the time for one file: the kernel ends the process after too much processor time, even
/// while the application is stopped.
void allow_time_for_a_file();

/// Limits the process's additional memory for one file, by the kernel's count of private data. The
/// memory of a large file goes back to the system at the end.
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
