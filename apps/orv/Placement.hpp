#pragma once

#include <orv/utility/Url.hpp>

#include <string>
#include <vector>

namespace orv::app {

/// The items to copy or move, and their destination.
struct Placement {
    std::vector<Url> sources;
    /// The new location of a single item, or the folder for several.
    Url destination;

    [[nodiscard]] bool is_of_one() const { return sources.size() == 1; }
};

/// The meaning of the paths on the command line. A single item goes inside an existing destination
/// folder under its own name. Refuses items of one name unless `may_share_names`: one of them would
/// be in the way of the other.
///
/// Errors: all that can be found before any change.
[[nodiscard]] Placement placement_of(const std::vector<std::string>& sources,
                                     const std::string& destination, bool may_share_names);

/// True if the destination is the item's own name in other capital letters, on a volume with one
/// entry for both.
[[nodiscard]] bool is_other_case(const Url& item, const Url& destination);

/// Refuses a destination whose folder does not exist.
///
/// Errors: "Destination folder doesn't exist.", at the folder.
void check_folder_of(const Url& destination);

} // namespace orv::app
