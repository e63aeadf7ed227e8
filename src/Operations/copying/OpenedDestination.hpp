#pragma once

#include "Operations/copying/ItemCopier.hpp"
#include "files/HiddenItem.hpp"
#include "files/Place.hpp"

#include <optional>

namespace orv {

/// The place of a copy: the opened folder, and the name in it. A copy that replaces an item grows
/// under a hidden name beside it.
class OpenedDestination {
public:
    /// Opens the folder of `url`, without a link on the way.
    ///
    /// Errors: if it does not open, "Couldn't create destination directory." for a folder,
    /// "Couldn't move the item" for any other item.
    OpenedDestination(const Url& url, bool is_folder, bool replaces);

    [[nodiscard]] const DestinationItem& item() const { return item_; }

    /// Puts a complete copy in the place of the old item.
    ///
    /// Errors: "Destination item couldn't be deleted while being overwritten."; then the old item
    /// is where it was.
    void publish();

private:
    std::optional<Place> place_;
    std::optional<HiddenItem> hidden_;
    DestinationItem item_;
};

} // namespace orv
