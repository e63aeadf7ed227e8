#pragma once

#include "files/DestinationFolder.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/utility/Url.hpp>

#include <cstdint>
#include <optional>
#include <string>

namespace orv {

/// A hidden name for items in one folder. A note in the processed-files folder announces it before
/// the first of them exists: so the next start of the library settles the leftovers of a killed
/// process. The note is on the disk before any such item, and goes after the last one has left the
/// disk, so this holds for a power cut, too.
class HiddenName {
public:
    /// A new name in `folder` for items under construction. The next start removes them.
    ///
    /// Errors: the platform's.
    explicit HiddenName(const DestinationFolder& folder)
        : HiddenName(folder, {}, std::optional<std::uint64_t>())
    {
    }

    /// A new name in `folder` for the item `original_name` there, set aside for the item with the
    /// inode number `replacement`. The next start removes it if that item has the original name.
    /// Otherwise it gets the original name back or, if a stranger has that, one like it.
    ///
    /// Errors: the platform's.
    HiddenName(const DestinationFolder& folder, const std::string& original_name,
               std::optional<std::uint64_t> replacement);

    /// Withdraws the note: no item has that name any more. The note stays for the next start if the
    /// folder cannot be flushed.
    ~HiddenName();
    HiddenName(const HiddenName&) = delete;
    HiddenName& operator=(const HiddenName&) = delete;

    [[nodiscard]] const std::string& text() const { return text_; }

    /// The folder, open for as long as this lives.
    [[nodiscard]] DestinationFolder folder() const { return {folder_.get(), url_}; }

    /// Flushes the folder to its disk. An unreadable folder cannot be flushed, and that is no
    /// failure.
    ///
    /// Errors: the platform's.
    void flush_folder() const;

    /// Leaves the item of that name, and the note, to the next start.
    void leave_behind() { note_name_.clear(); }

    /// Reports the end of a removal of the item of that name: the errno `code`, or 0. Unless it is
    /// certain there is none, the item stays for the next start.
    void removal_ended(int code);

    [[nodiscard]] bool is_left_behind() const { return note_name_.empty(); }

private:
    struct Unwritten {};

    HiddenName(const DestinationFolder& folder, const std::string& uuid, Unwritten);
    void announce(const std::string& original_name, std::optional<std::uint64_t> replacement) const;

    FileDescriptor folder_;
    bool is_readable_;
    Url url_;
    FileDescriptor processed_files_;
    std::string text_;
    std::string note_name_;
    FileDescriptor note_; // holds the note's lock
};

} // namespace orv
