#pragma once

#include "files/PartialFile.hpp"
#include "utility/FileDescriptor.hpp"

#include <string>

namespace orv {

/// The name that items get in a folder while they are being built there, out of sight. A note in
/// the processed-files folder announces it before the first of them exists, so that the next start
/// of the library finds what a killed process leaves there.
class HiddenName {
public:
    /// A new name in `folder`. `processed_files` is that folder, and has to stay open.
    ///
    /// Errors: the platform's.
    HiddenName(const DestinationFolder& processed_files, const Url& folder);

    /// Withdraws the note: nothing has that name any more.
    ~HiddenName();
    HiddenName(const HiddenName&) = delete;
    HiddenName& operator=(const HiddenName&) = delete;

    [[nodiscard]] const std::string& text() const { return text_; }

    /// Leaves what has that name, and the note, to the next start.
    void leave_behind() { note_name_.clear(); }

private:
    HiddenName(const DestinationFolder& processed_files, const std::string& uuid);

    int processed_files_;
    std::string text_;
    std::string note_name_;
    FileDescriptor note_; // holds the note's lock
};

} // namespace orv
