#pragma once

#include <cstdint>
#include <string>

namespace orv::bench {

/// Makes the folder at `path` with about `bytes` in what a person keeps: many small texts, one
/// large one, pictures that are compressed already, programs, one large image of a disk. The same
/// in every run.
void make_mixed_files(const std::string& path, std::int64_t bytes);

} // namespace orv::bench
