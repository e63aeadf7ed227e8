#pragma once

#include "archive/Libzip.hpp"
#include "archive/PackedContent.hpp"

#include <exception>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace orv::archive {

/// The archive as libzip sees it, for entries with the old encryption and those packed in a rare
/// way.
///
/// Threading: one thread at a time.
class LibzipArchive {
public:
    LibzipArchive(const ArchiveToRead& archive, const ArchiveDirectory& directory,
                  const std::optional<std::string>& password);
    ~LibzipArchive();
    LibzipArchive(const LibzipArchive&) = delete;
    LibzipArchive& operator=(const LibzipArchive&) = delete;

    /// Begins to read the content of the entry. Deflated bytes come unchanged, after decryption.
    ///
    /// Errors: damaged, if libzip knows other facts of the entry; `DamagedContent`; the password is
    /// wrong or missing; the platform's.
    void open(const Entry& entry);

    /// The next bytes; none at the end, after all of them proved right.
    std::size_t read(std::span<std::byte> buffer);

    void close();

private:
    static zip_int64_t serve(void* self, void* data, zip_uint64_t size, zip_source_cmd_t command);
    zip_int64_t handle(void* data, zip_uint64_t size, zip_source_cmd_t command);
    [[noreturn]] void fail(zip_error_t* error);

    struct Discard {
        void operator()(zip_t* archive) const noexcept { zip_discard(archive); }
    };
    struct CloseFile {
        void operator()(zip_file_t* file) const noexcept { zip_fclose(file); }
    };

    const ArchiveToRead& archive_;
    std::uint64_t position_ = 0;
    std::exception_ptr failure_;
    const Entry* entry_ = nullptr;
    std::unique_ptr<zip_t, Discard> zip_;
    std::unique_ptr<zip_file_t, CloseFile> file_;
};

} // namespace orv::archive
