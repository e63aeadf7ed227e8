#include "archive/Deflate.hpp"

#include "archive/Libdeflate.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

#include <zlib.h>

namespace orv::archive {
namespace {

constexpr std::size_t sample_size = 4096;
constexpr std::size_t sample_count = 4;
constexpr std::size_t max_stored_block = 65535;

int level_of(ZipCompression compression)
{
    switch (compression) {
    case ZipCompression::no_compression:
        return 0;
    case ZipCompression::best_speed:
        return 1;
    case ZipCompression::default_compression:
        return 6;
    case ZipCompression::best_compression:
        return 9;
    }
    return 6;
}

libdeflate_compressor* new_compressor(int level)
{
    libdeflate_compressor* compressor = libdeflate_alloc_compressor(level);
    if (!compressor)
        throw std::bad_alloc();
    return compressor;
}

void free_compressor(libdeflate_compressor* compressor)
{
    libdeflate_free_compressor(compressor);
}

void append(Bytes& to, std::initializer_list<unsigned> bytes)
{
    for (const unsigned byte : bytes)
        to.push_back(static_cast<std::byte>(byte & 0xFF));
}

/// The input as it is, in stored blocks.
void store(ByteView input, bool is_last, Bytes& result)
{
    result.clear();
    do {
        const auto size = static_cast<unsigned>(std::min(input.size(), max_stored_block));
        const bool ends = is_last && size == input.size();
        append(result, {ends ? 1U : 0U, size, size >> 8, ~size, ~size >> 8});
        result.insert(result.end(), input.begin(), input.begin() + size);
        input = input.subspan(size);
    } while (!input.empty());
}

} // namespace

bool is_zeros(ByteView bytes)
{
    return !bytes.empty() && bytes.front() == std::byte{0} &&
           std::memcmp(bytes.data(), bytes.data() + 1, bytes.size() - 1) == 0;
}

bool looks_compressed(ByteView bytes)
{
    if (bytes.size() < sample_size * sample_count)
        return false;
    static thread_local const std::unique_ptr<libdeflate_compressor,
                                              void (*)(libdeflate_compressor*)>
        fast(new_compressor(1), free_compressor);
    std::array<std::byte, sample_size> ignored;
    std::size_t hardly_smaller = 0;
    for (std::size_t i = 0; i < sample_count; ++i) {
        const ByteView sample =
            bytes.subspan((bytes.size() - sample_size) / (sample_count - 1) * i, sample_size);
        hardly_smaller +=
            libdeflate_deflate_compress(fast.get(), sample.data(), sample.size(), ignored.data(),
                                        sample_size - sample_size / 64) == 0;
    }
    return hardly_smaller == sample_count;
}

/// Finds where the last block of a deflate stream begins and ends.
class Deflater::BlockFinder {
public:
    /// In bits from the beginning of the stream.
    struct Range {
        std::size_t begin;
        std::size_t end;
    };

    BlockFinder()
    {
        if (::inflateInit2(&stream_, -MAX_WBITS) != Z_OK)
            throw std::bad_alloc();
    }
    ~BlockFinder() { ::inflateEnd(&stream_); }
    BlockFinder(const BlockFinder&) = delete;
    BlockFinder& operator=(const BlockFinder&) = delete;

    Range last_block(ByteView stream, std::size_t unfolded_size)
    {
        constexpr int in_last_block = 64;
        constexpr int unused_bits = 7;
        output_.resize(std::max<std::size_t>(unfolded_size, 1));
        ::inflateReset(&stream_);
        stream_.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(stream.data()));
        stream_.avail_in = static_cast<uInt>(stream.size());
        stream_.next_out = reinterpret_cast<Bytef*>(output_.data());
        stream_.avail_out = static_cast<uInt>(output_.size());
        for (std::size_t begin = 0;;) {
            if (::inflate(&stream_, Z_BLOCK) != Z_OK)
                throw std::logic_error("a compressed part could not be read again");
            const std::size_t end = std::size_t{stream_.total_in} * 8 -
                                    static_cast<std::size_t>(stream_.data_type & unused_bits);
            if ((stream_.data_type & in_last_block) != 0)
                return {begin, end};
            begin = end;
        }
    }

private:
    z_stream stream_{};
    Bytes output_;
};

Deflater::Deflater(ZipCompression compression)
    : compressor_(new_compressor(level_of(compression))),
      block_finder_(std::make_unique<BlockFinder>())
{
}

Deflater::~Deflater()
{
    libdeflate_free_compressor(compressor_);
}

bool Deflater::compress(ByteView input, Bytes& result)
{
    result.resize(input.size());
    const std::size_t limit = input.empty() ? 0 : input.size() - 1;
    const std::size_t size =
        libdeflate_deflate_compress(compressor_, input.data(), input.size(), result.data(), limit);
    result.resize(size);
    return size != 0;
}

void Deflater::compress_part(ByteView input, bool is_last, Bytes& result)
{
    if (is_last) {
        if (looks_compressed(input) || !compress(input, result))
            store(input, is_last, result);
    } else if (!is_zeros(input)) {
        compress_inner_part(input, result);
    } else {
        if (std::exchange(zeros_size_, input.size()) != input.size())
            compress_inner_part(input, zeros_);
        result = zeros_;
    }
}

/// A compressor ends its stream with a last block, in the middle of a byte. To let others follow,
/// this takes the mark back and goes on with an empty block up to the next byte.
void Deflater::compress_inner_part(ByteView input, Bytes& result)
{
    if (looks_compressed(input) || !compress(input, result))
        return store(input, false, result);
    constexpr std::size_t block_header_bits = 3;
    const BlockFinder::Range last = block_finder_->last_block(result, input.size());
    result[last.begin / 8] &= ~(std::byte{1} << last.begin % 8);
    if (result.size() * 8 - last.end < block_header_bits)
        append(result, {0});
    append(result, {0, 0, 0xFF, 0xFF});
}

} // namespace orv::archive
