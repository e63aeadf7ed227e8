#pragma once

#include "utility/FileDescriptor.hpp"

#include <orv/utility/Url.hpp>

#include <string>
#include <string_view>

namespace orv {

/// A hidden name for items in one folder. A note in the processed-files folder announces it before
/// the first of them exists, so that the next start of the library settles what a killed process
/// left there.
class HiddenName {
public:
    /// A new name in `folder` for items under construction: the next start removes them.
    ///
    /// Errors: the platform's.
    explicit HiddenName(const Url& folder);

    /// A new name in `folder` for the item `original_name` there, which is set aside: the next
    /// start renames it back if the original name is free, and removes it otherwise.
    ///
    /// Errors: the platform's.
    HiddenName(const Url& folder, std::string_view original_name);

    /// Withdraws the note: nothing has that name any more.
    ~HiddenName();
    HiddenName(const HiddenName&) = delete;
    HiddenName& operator=(const HiddenName&) = delete;

    [[nodiscard]] const std::string& text() const { return text_; }

    /// Leaves the item of that name, and the note, to the next start.
    void leave_behind() { note_name_.clear(); }

    /// Tells how removing the item of that name ended: with the errno `code`, or 0. Unless it is
    /// sure that there is none, the item is left behind.
    void removal_ended(int code);

private:
    explicit HiddenName(const std::string& uuid);

    FileDescriptor processed_files_;
    std::string text_;
    std::string note_name_;
    FileDescriptor note_; // holds the note's lock
};

} // namespace orv
