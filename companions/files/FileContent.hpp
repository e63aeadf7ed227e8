#pragma once

#include "files/ReadWrite.hpp"

#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/Url.hpp>

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include <sys/stat.h>

namespace orv {

/// Copies the content of files, holes included, without it passing through this process where the
/// file systems allow.
///
/// One copier serves one thread. It learns the abilities of the file systems at hand and keeps its
/// buffer.
class FileContent {
public:
    /// Called between the calls with the count of moved bytes; may throw.
    using Step = FunctionRef<void(std::int64_t bytes_done)>;

    /// With a `pause`, content moves in chunks of 102,400 bytes, with the pause after each.
    using ChunkPause = std::optional<std::chrono::milliseconds>;
    explicit FileContent(ChunkPause pause = {}) : chunk_pause_(pause) {}

    /// Copies the content of `from`, described by `status`, into the empty file `to`. Of a growing
    /// file copies the first size, of a shrinking one the bytes read.
    ///
    /// Errors: the platform's.
    void copy(const OpenFile& from, const OpenFile& to, const struct stat& status, Step step);

private:
    struct Range {
        std::int64_t begin;
        std::int64_t end;
    };

    bool cloned(int from, int to);
    void copy_with_holes(const OpenFile& from, const OpenFile& to, std::int64_t size, Step step);
    std::int64_t copy_after_hole(const OpenFile& from, const OpenFile& to, std::int64_t done,
                                 Range range, Step step);
    std::int64_t copy_range(const OpenFile& from, const OpenFile& to, Range range, Step step);
    std::int64_t move_in_kernel(const OpenFile& from, const OpenFile& to, Range range);
    std::int64_t move_through_buffer(const OpenFile& from, const OpenFile& to, Range range);
    void set_size(const OpenFile& from, const OpenFile& to, std::int64_t size);
    void copy_unsized(const OpenFile& from, const OpenFile& to, Step step);

    void pause_after_chunk() const;

    ChunkPause chunk_pause_;
    std::vector<std::byte> buffer_;
    bool clones_ = true;
    bool moves_in_kernel_ = true;
    bool leaves_holes_ = true;
};

} // namespace orv
