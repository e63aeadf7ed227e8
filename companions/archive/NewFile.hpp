#pragma once

#include "archive/Deflate.hpp"
#include "archive/Zip.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/utility/Url.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include <time.h>

namespace orv::archive {

/// An open folder in which items are created, and where it is found, for the errors.
struct NewItemFolder {
    FileDescriptor descriptor;
    Url url;
};

/// What an item keeps beside its content.
struct Keepsakes {
    std::optional<std::uint32_t> mode;
    std::optional<timespec> time;
};

/// Throws the platform's error, at `url`, when a call that only keeps what describes an item has
/// returned that it failed; unless the file system lacks that, or keeps it from this user.
void check_kept(int result, const Url& url);

/// Gives an open file or folder what it keeps.
///
/// Errors: those of `check_kept`.
void apply(const Keepsakes& keepsakes, int fd, const Url& url);

/// A file that is being written, out of sight. Unless it is published, nothing of it remains.
class NewFile {
public:
    /// Errors: the platform's, as everywhere here, at the place where it is to stand; what
    /// `unfinished_name` throws.
    NewFile(std::shared_ptr<const NewItemFolder> folder, std::string name,
            const Zip::UnfinishedName& unfinished_name);
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    /// Adds to the end. A part that is all zeros takes no space where the file system can do so.
    void write(ByteView part);

    /// Gives the complete file its name, or a free one like it. It replaces nothing.
    void publish(const Keepsakes& keepsakes);

private:
    void finish(const Keepsakes& keepsakes);
    [[nodiscard]] int place();
    [[noreturn]] void fail(int code) const;

    const std::shared_ptr<const NewItemFolder> folder_;
    std::string name_;
    std::shared_ptr<const std::string> hidden_name_; // none for a file without a name
    FileDescriptor file_;
    std::uint64_t size_ = 0;
    bool ends_with_hole_ = false;
};

} // namespace orv::archive
