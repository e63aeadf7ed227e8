#pragma once

#include "archive/Bytes.hpp"
#include "archive/Zip.hpp"

#include <cstddef>
#include <memory>

struct libdeflate_compressor;

namespace orv::archive {

/// True if there are bytes, and all are zero.
[[nodiscard]] bool is_zeros(ByteView bytes);

/// True if deflate would hardly shrink the bytes, by samples: pictures, films and archives are like
/// that.
[[nodiscard]] bool looks_compressed(ByteView bytes);

/// Compresses pieces of a file, each by itself.
///
/// Threading: one thread at a time.
class Deflater {
public:
    explicit Deflater(ZipCompression compression);
    ~Deflater();
    Deflater(const Deflater&) = delete;
    Deflater& operator=(const Deflater&) = delete;

    /// Puts a complete deflate stream into `result`; says false when none is smaller than `input`.
    bool compress(ByteView input, Bytes& result);

    /// Puts a part of a deflate stream into `result`, with more to follow unless it `is_last`.
    /// Parts do not refer to each other.
    void compress_part(ByteView input, bool is_last, Bytes& result);

private:
    class BlockFinder;

    void compress_inner_part(ByteView input, Bytes& result);

    libdeflate_compressor* compressor_;
    std::unique_ptr<BlockFinder> block_finder_;
    Bytes zeros_;                // a part of nothing but zeros
    std::size_t zeros_size_ = 0; // before compression
};

} // namespace orv::archive
