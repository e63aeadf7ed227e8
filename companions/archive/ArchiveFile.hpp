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

/// The file of a new archive. Unless it is finished, nothing of it remains: a file it made is gone,
/// an earlier file is empty again.
///
/// Threading: one thread at a time.
class ArchiveFile {
public:
    /// Errors: the platform's; EEXIST if anything but an empty file stands there.
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

    /// The finished part of the archive. Read it during the lifetime of this object.
    ///
    /// Errors: the platform's.
    [[nodiscard]] ArchiveToRead to_read();

    /// Marks the archive as complete, and closes it.
    ///
    /// Errors: the platform's, after a lost write.
    void finish();

    /// The file as libzip writes to it. It does not own this object.
    ///
    /// Errors: keeps an error inside for `rethrow_failure`.
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

    Bytes buffer_; // the bytes from `buffer_start_` on, not yet written
    std::uint64_t buffer_start_ = 0;
    std::uint64_t position_ = 0;
    bool ends_with_hole_ = false; // the end of the written part
    std::exception_ptr failure_;
};

} // namespace orv::archive
