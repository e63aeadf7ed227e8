#pragma once

#include "archive/Deflate.hpp"
#include "files/HiddenNames.hpp"
#include "files/NoReplaceRename.hpp"
#include "files/PartialFile.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/utility/Url.hpp>

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include <time.h>

namespace orv::archive {

/// An open folder for new items, and its location for errors.
struct NewItemFolder {
    FileDescriptor descriptor;
    Url url;

    [[nodiscard]] DestinationFolder destination() const { return {descriptor.get(), url}; }
};

/// An item's properties beside its content.
struct Keepsakes {
    std::optional<std::uint32_t> mode;
    std::optional<timespec> time;
};

/// Gives an open file or folder its properties, as far as its volume can.
///
/// Errors: the platform's, at `url`.
void apply(const Keepsakes& keepsakes, int fd, const Url& url);

/// The ways of an unpacking to rename. The threads share their experience with the volume.
using RenameWay = std::atomic<NoReplaceRename::Way>;

/// A file under construction, out of sight. Unless it is published, nothing of it remains.
class NewFile {
public:
    /// The file gets one of the `hidden` names, on the same volume, where it needs one.
    ///
    /// Errors: the platform's, as everywhere here, at the place where it is to stand.
    NewFile(std::shared_ptr<const NewItemFolder> folder, std::string name, HiddenNames& hidden);

    /// Adds to the end. A part of zeros takes no space if the file system can do so.
    void write(ByteView part);

    /// Gives the complete file its name, or a free one like it. It replaces nothing.
    void publish(const Keepsakes& keepsakes, RenameWay& way);

private:
    void write_after_zeros(ByteView part);
    void write_zeros();
    void write_at(std::uint64_t offset, ByteView part);
    [[nodiscard]] Url url() const { return folder_->url.appending(name_); }

    const std::shared_ptr<const NewItemFolder> folder_;
    std::string name_;
    PartialFile file_;
    std::uint64_t size_ = 0;
    std::uint64_t zeros_ = 0; // to follow; a hole, if something comes after them
};

} // namespace orv::archive
