#pragma once

#include "Operations/ItemCopier.hpp"
#include "files/Place.hpp"

namespace orv {

/// Where a copy is to appear: the opened folder, and the name in it.
class OpenedDestination {
public:
    /// Opens the folder of `url`.
    ///
    /// Errors: when it cannot be opened, "Couldn't create destination directory." or, for what is
    /// no folder, "Couldn't move the item".
    OpenedDestination(const Url& url, bool is_folder);

    [[nodiscard]] const DestinationItem& item() const { return item_; }

private:
    Place place_;
    DestinationItem item_;
};

} // namespace orv
