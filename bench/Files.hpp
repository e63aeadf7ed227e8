#pragma once

#include "utility/FileDescriptor.hpp"

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>

#include <fcntl.h>

namespace orv::bench {

/// Blocks of random bytes, the same in every run of the program.
class RandomBytes {
public:
    explicit RandomBytes(std::size_t size) : bytes_(size, '\0') {}

    /// The next block; valid until the one after it.
    std::string_view next();

private:
    std::mt19937_64 engine_;
    std::string bytes_;
};

// Errors of all of these: the platform's, with the path as given.

/// Makes the folder and opens it.
FileDescriptor make_folder(const std::string& path);

/// Makes the file `name` in the open folder `folder` and opens it for writing.
FileDescriptor make_file(int folder, const std::string& name);

/// Makes a file that is one hole of `bytes`.
void make_sparse_file(int folder, const std::string& name, std::int64_t bytes);

void write_all(int file, std::string_view bytes);
void write_all_at(int file, std::string_view bytes, std::int64_t position);

/// Waits until what was written to the volume of `path` is on it, so that no run pays for the one
/// before it.
void settle(const std::string& path);

} // namespace orv::bench
