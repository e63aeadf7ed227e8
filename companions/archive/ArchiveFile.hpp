#pragma once

#include "archive/ArchiveDirectory.hpp"
#include "archive/Deflate.hpp"
#include "archive/Libzip.hpp"
#include "files/Identity.hpp"
#include "files/Place.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/utility/Url.hpp>

#include <cstdint>
#include <exception>

#include <sys/stat.h>

namespace orv::archive {

/// The file that a new archive is written to. Unless it is finished, nothing of it remains: the
/// file that it made is gone, one that was there before is empty again.
///
/// Threading: one thread at a time.
class ArchiveFile {
public:
    /// Errors: the platform's; EEXIST when something stands there that is no empty file.
    explicit ArchiveFile(Url url);
    ~ArchiveFile();
    ArchiveFile(const ArchiveFile&) = delete;
    ArchiveFile& operator=(const ArchiveFile&) = delete;

    [[nodiscard]] Identity identity() const { return identity_of(facts_); }
    [[nodiscard]] const Url& url() const { return url_; }

    /// Zeros take no space where there are many of them and the file system can do so.
    void write(ByteView bytes);
    void seek(std::uint64_t position) { position_ = position; }
    [[nodiscard]] std::uint64_t position() const { return position_; }

    /// The archive as far as it is written. It has to be read before this is gone.
    ///
    /// Errors: the platform's.
    [[nodiscard]] ArchiveToRead to_read();

    /// Says that the archive is complete, and closes it.
    ///
    /// Errors: the platform's, when not everything could be written.
    void finish();

    /// The file as libzip writes to it. It does not own this object.
    ///
    /// Errors: what went wrong inside is kept and thrown by `rethrow_failure`.
    zip_source_t* as_zip_source();
    void rethrow_failure() const;

private:
    static zip_int64_t serve(void* self, void* data, zip_uint64_t size, zip_source_cmd_t command);
    zip_int64_t handle(void* data, zip_uint64_t size, zip_source_cmd_t command);
    void flush();

    const Url url_;
    const Place place_;
    FileDescriptor file_;
    struct statx facts_ {};
    bool is_own_ = false;
    bool is_finished_ = false;

    Bytes buffer_; // what stands from `buffer_start_` on, not yet written
    std::uint64_t buffer_start_ = 0;
    std::uint64_t position_ = 0;
    bool ends_with_hole_ = false; // what was written of it does
    std::exception_ptr failure_;
};

} // namespace orv::archive
