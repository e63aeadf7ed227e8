#pragma once

namespace orv::decoder {

/// Takes from this process what a decoder has no use for, for good: memory beyond a few pictures,
/// writing to files, running other programs, the network.
void confine_process();

/// From here on one file is read: the process is ended when that takes too long, whatever became of
/// the application.
class FileTime {
public:
    FileTime();
    ~FileTime();
    FileTime(const FileTime&) = delete;
    FileTime& operator=(const FileTime&) = delete;
};

} // namespace orv::decoder
