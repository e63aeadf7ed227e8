#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace orv {

/// The entries of an open folder, one after the other, without "." and "..".
///
/// Ownership: neither the descriptor nor, for good, the buffer is its own.
class FolderReader {
public:
    static constexpr std::size_t buffer_bytes = 32 * 1024;
    using Buffer = std::unique_ptr<std::byte[]>;

    struct Entry {
        const char* name;   ///< valid until the next call
        unsigned char type; ///< DT_…; a file system may tell DT_UNKNOWN
        std::uint64_t inode;
    };

    /// Reads through `buffer`, of `buffer_bytes`.
    explicit FolderReader(Buffer buffer) : buffer_(std::move(buffer)) {}

    /// The next entry of the folder open as `folder`; no value at the end and after an error.
    std::optional<Entry> next(int folder);

    /// The errno of a reading cut short, else 0.
    [[nodiscard]] int error() const { return error_; }

    /// Reads the rest into memory and gives the buffer back. From then on `next` needs no
    /// descriptor.
    Buffer read_rest(int folder);

    /// Gives the buffer back; no reads may follow.
    Buffer release() { return std::move(buffer_); }

private:
    bool fill(int folder);

    Buffer buffer_;
    std::vector<std::byte> rest_;
    const std::byte* position_ = nullptr;
    const std::byte* end_ = nullptr;
    bool finished_ = false;
    int error_ = 0;
};

/// True if the folder, freshly opened as `folder`, is readable and empty.
[[nodiscard]] bool is_empty_folder(int folder);

} // namespace orv
