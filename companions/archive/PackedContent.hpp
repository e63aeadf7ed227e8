#pragma once

#include "archive/AesStream.hpp"
#include "archive/ArchiveDirectory.hpp"
#include "archive/Bytes.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace orv::archive {

/// Thrown for content that is not right: it is damaged, or the password is wrong.
struct DamagedContent {};

/// The packed content of an entry, in order, after AES decryption.
///
/// Threading: one thread at a time.
class PackedContent {
public:
    /// Errors: `DamagedContent`; the entry's header is damaged; the password is wrong or missing;
    /// the platform's.
    PackedContent(const ArchiveToRead& archive, const ArchiveDirectory& directory,
                  const Entry& entry, const std::optional<std::string>& password);

    /// The bytes still to read.
    [[nodiscard]] std::uint64_t left() const { return end_ - position_; }

    /// The next bytes, in `buffer`: `max_size`, or the rest.
    ///
    /// Errors: the archive ends before; the platform's.
    ByteView next(std::uint64_t max_size, Bytes& buffer);

    /// Reads the rest, and checks the authentication code.
    ///
    /// Errors: `DamagedContent`; as `next`.
    void finish(Bytes& buffer);

private:
    void locate(const ArchiveDirectory& directory);
    void begin_decryption(const std::optional<std::string>& password);
    void read(std::span<std::byte> buffer);

    const ArchiveToRead& archive_;
    const Entry& entry_;
    std::uint64_t position_ = 0;
    std::uint64_t end_ = 0;
    std::optional<AesStream> decryption_;
};

} // namespace orv::archive
