#pragma once

#include "archive/AesKeys.hpp"
#include "archive/Job.hpp"
#include "utility/FileDescriptor.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <time.h>

namespace orv::archive {

/// An archive open for reading.
struct ArchiveToRead {
    FileDescriptor file;
    Url url;
    std::uint64_t size;
};

/// Errors: `Zip::Error` when nothing is there; the platform's.
[[nodiscard]] ArchiveToRead open_archive(const Url& url);

/// The directory's facts on one entry. None of them can be trusted.
struct Entry {
    std::string name; ///< UTF-8, unless it is exact
    std::uint64_t size = 0;
    std::uint64_t packed_size = 0;
    std::uint64_t offset = 0; ///< of its header in the file
    std::uint32_t number = 0; ///< among the entries
    std::uint32_t crc = 0;
    std::uint32_t attributes = 0; ///< their meaning depends on `host`
    std::uint16_t method = 0;
    std::uint16_t inner_method = 0; ///< of the encrypted content; otherwise the same
    std::uint16_t flags = 0;
    std::uint16_t packed_time = 0; ///< hours to seconds, as stated
    std::uint8_t host = 0;
    std::optional<AesStrength> aes_strength;
    bool has_checksum = true;
    bool has_exact_name = false; ///< the name's bytes mean themselves on this platform
    std::optional<timespec> time;

    [[nodiscard]] bool is_encrypted() const { return (flags & 1) != 0; }
};

inline constexpr std::uint16_t stored_method = 0;
inline constexpr std::uint16_t deflated_method = 8;
inline constexpr std::uint16_t aes_method = 99;

inline constexpr std::uint16_t utf8_flag = 1 << 11;

inline constexpr std::string_view entry_header_mark = "PK\3\4";
inline constexpr std::size_t entry_header_size = 30;

struct ArchiveDirectory {
    std::vector<Entry> entries;
    std::uint64_t offset; ///< of the directory in the file, where all content has ended

    /// Places of wrong flags in the file, in this directory and in the entries' own headers: they
    /// call a name with non-ASCII letters UTF-8, or deny it, against its bytes.
    std::vector<std::uint64_t> wrong_utf8_flags;
};

/// Reads the whole directory of the archive, with any bytes before or after it, or throws.
///
/// Errors: the archive is damaged or no archive; it has more than `max_entries`; the platform's.
[[nodiscard]] ArchiveDirectory read_directory(const ArchiveToRead& archive,
                                              std::uint64_t max_entries, const Job& job);

/// An error of the archive, or of one of its entries: a damaged or hostile archive, unless another
/// cause is known.
Error archive_error(std::string_view sentence, const Url& archive, std::string_view entry = {});
Error damaged(const Url& archive, std::string_view entry = {});
Error wrong_password(const Url& archive, std::string_view entry);
Error too_many_items(const Url& archive);

} // namespace orv::archive
