#pragma once

#include "files/TransferItems.hpp"

#include <orv/utility/Url.hpp>

#include <optional>
#include <string>

#include <sys/stat.h>

namespace orv {

/// The facts of one item, relative to an open folder.
using ItemFacts = struct statx;

/// An item on its way to the place of another one.
struct TakenName {
    Url source;
    ItemFacts source_facts;
    Url destination;
    ItemFacts destination_facts;
    /// Both are links with one text.
    bool are_links_alike = false;

    [[nodiscard]] bool are_folders() const;
    [[nodiscard]] bool are_files() const; ///< neither is a folder
    [[nodiscard]] bool are_same_item() const;

    /// Two files of one size and date, or two links of one text. A date the destination's volume
    /// rounds is equal within its precision.
    [[nodiscard]] bool are_equal() const;

    /// True if the item at the destination is older than the source.
    [[nodiscard]] bool is_older() const;
};

/// Looks at the item `name` in an open folder. No value if there is none.
///
/// Errors: the platform's, at `url`.
[[nodiscard]] std::optional<ItemFacts> facts_in(int folder, const std::string& name,
                                                const Url& url);

/// Both items, by their facts; reads the texts of links.
[[nodiscard]] TakenName taken_name(const SourceItem& source, const ItemFacts& source_facts,
                                   const DestinationItem& destination,
                                   const ItemFacts& destination_facts);

} // namespace orv
