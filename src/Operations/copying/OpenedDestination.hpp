#pragma once

#include "Operations/copying/ItemCopier.hpp"
#include "files/HiddenItem.hpp"
#include "files/Place.hpp"

#include <optional>

namespace orv {

/// The place of a copy: the opened folder, and the name in it. A copy that replaces an item is
/// built under a hidden name beside it.
class OpenedDestination {
public:
    /// Opens the folder of `url`, on the way to which there is no link.
    ///
    /// Errors: when it cannot be opened, "Couldn't create destination directory." or, for what is
    /// no folder, "Couldn't move the item".
    OpenedDestination(const Url& url, bool is_folder, bool replaces);

    [[nodiscard]] const DestinationItem& item() const { return item_; }

    /// Puts a complete copy that replaces an item in its place.
    ///
    /// Errors: "Destination item couldn't be deleted while being overwritten."; then that item is
    /// where it was.
    void publish();

private:
    std::optional<Place> place_;
    std::optional<HiddenItem> hidden_;
    DestinationItem item_;
};

} // namespace orv
