#pragma once

#include "Operations/PartialFile.hpp"
#include "Tool/Place.hpp"

#include <string>

namespace orv {

/// Where a copy is to appear: the opened folder, and the name in it.
class OpenedDestination {
public:
    /// Opens the folder of `url`.
    ///
    /// Errors: when it cannot be opened, "Couldn't create destination directory." or, for what is
    /// no folder, "Couldn't move the item".
    OpenedDestination(const Url& url, bool is_folder);

    [[nodiscard]] const DestinationFolder& folder() const { return folder_; }
    [[nodiscard]] const std::string& name() const { return place_.path; }

private:
    Place place_;
    DestinationFolder folder_;
};

} // namespace orv
