#pragma once

#include "files/PartialFile.hpp"

#include <orv/utility/Url.hpp>

#include <string>

namespace orv {

/// An item to copy: its name in an open folder, and its location for errors.
struct SourceItem {
    int folder;
    std::string name;
    Url url;
};

/// The place of a copy: its name in an open folder.
struct DestinationItem {
    DestinationFolder folder;
    std::string name;
    std::string shown_name = {}; ///< the final name, in errors, of a hidden item under construction

    [[nodiscard]] Url url() const
    {
        return folder.url.appending(shown_name.empty() ? name : shown_name);
    }
};

} // namespace orv
