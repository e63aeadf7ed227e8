#pragma once

#include "files/TransferItems.hpp"

#include <orv/utility/Url.hpp>

#include <optional>
#include <string>

#include <sys/stat.h>

namespace orv {

/// What one item is, as an open folder tells.
using ItemFacts = struct statx;

/// An item that is to go where another one stands.
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

    /// Two files of one size and date, or two links of one text. A date that the destination's
    /// volume keeps less exactly is equal as far as it goes.
    [[nodiscard]] bool are_equal() const;

    /// True if the item at the destination was changed before the source was.
    [[nodiscard]] bool is_older() const;
};

/// Looks at the item `name` in an open folder. No value if there is none.
///
/// Errors: the platform's, at `url`.
[[nodiscard]] std::optional<ItemFacts> facts_in(int folder, const std::string& name,
                                                const Url& url);

/// Both items, as they were seen; of links their texts are read.
[[nodiscard]] TakenName taken_name(const SourceItem& source, const ItemFacts& source_facts,
                                   const DestinationItem& destination,
                                   const ItemFacts& destination_facts);

} // namespace orv
