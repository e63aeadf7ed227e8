#pragma once

#include "files/PartialFile.hpp"

#include <orv/utility/Url.hpp>

#include <string>

namespace orv {

/// An item that is to be copied: its name in an open folder, and where it is found, for the errors.
struct SourceItem {
    int folder;
    std::string name;
    Url url;
};

/// Where a copy is to appear: its name in an open folder.
struct DestinationItem {
    DestinationFolder folder;
    std::string name;

    [[nodiscard]] Url url() const { return folder.url.appending(name); }
};

} // namespace orv
