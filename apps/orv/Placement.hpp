#pragma once

#include <orv/utility/Url.hpp>

#include <string>
#include <vector>

namespace orv::app {

/// Which items are copied or moved, and where to.
struct Placement {
    std::vector<Url> sources;
    /// Of a single item its new location, of several the folder that gets them.
    Url destination;

    [[nodiscard]] bool is_of_one() const { return sources.size() == 1; }
};

/// What the paths on the command line stand for. With an existing folder as its destination, a
/// single item goes inside it under its own name. Items of one name are refused, unless
/// `may_share_names`: one of them would be in the way of the other.
///
/// Errors: those that are to be found before anything is done to any of the items.
[[nodiscard]] Placement placement_of(const std::vector<std::string>& sources,
                                     const std::string& destination, bool may_share_names);

/// True if the destination is the name of the item in other capital letters, on a volume that takes
/// both for one.
[[nodiscard]] bool is_other_case(const Url& item, const Url& destination);

/// Refuses a destination whose folder does not exist.
///
/// Errors: "Destination folder doesn't exist.", at the folder.
void check_folder_of(const Url& destination);

} // namespace orv::app
