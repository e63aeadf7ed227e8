#pragma once

#include "files/HiddenName.hpp"
#include "files/PartialFile.hpp"

#include <orv/utility/Url.hpp>

#include <string>

namespace orv {

/// An item that makes room for its replacement: it waits under a hidden name beside its own.
///
/// A note in the processed-files folder tells the next start of the library about it. That start
/// gives the item its name back if the name is free, and removes the item otherwise.
class SetAside {
public:
    /// Renames the item `name` of the open folder, which has to stay open.
    ///
    /// Errors: the platform's; then the item is where it was.
    SetAside(const DestinationFolder& folder, std::string name);

    /// Puts the item back unless it was discarded. Where its name is taken by now, the next start
    /// decides.
    ~SetAside();
    SetAside(const SetAside&) = delete;
    SetAside& operator=(const SetAside&) = delete;

    /// Removes the item, a folder with everything in it. The next start removes what stays.
    void discard() noexcept;

private:
    DestinationFolder folder_;
    std::string name_;
    HiddenName hidden_name_;
    bool is_aside_ = false;
};

} // namespace orv
