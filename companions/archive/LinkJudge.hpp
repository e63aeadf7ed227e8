#pragma once

#include "archive/EntryReader.hpp"
#include "archive/PlannedTree.hpp"

#include <cstddef>
#include <string>
#include <unordered_map>

namespace orv::archive {

/// The text of a link, as an archive holds it.
///
/// Errors: the archive is damaged, if no link can have that text; those of `EntryReader::read`.
[[nodiscard]] std::string read_link_target(const ArchiveToRead& archive, const Entry& entry,
                                           EntryReader& reader);

/// Finds the links of an archive that lead outside its tree.
class LinkJudge {
public:
    /// The arguments must outlive this object.
    LinkJudge(const ArchiveToRead& archive, const PlannedTree& tree, EntryReader& reader,
              const Job& job);

    /// True if the kernel would leave the destination on the way along the link, through all other
    /// links of the archive.
    ///
    /// Errors: those of `read_link_target`.
    [[nodiscard]] bool leads_outside(const PlannedItem& link);

private:
    /// A place in the tree: an item, and the number of names below it outside the archive.
    struct Place {
        const PlannedItem* item = nullptr; // null: the destination
        std::size_t names_below = 0;
    };
    enum class Outcome { inside, nowhere, outside };
    struct End {
        Outcome outcome = Outcome::nowhere; // until it is known: a link to itself leads nowhere
        Place place = {};
    };

    End follow(const PlannedItem& link, int links_above);
    End walk(const PlannedItem& link, std::string_view target, int links_above);
    End step(const Place& from, std::string_view name, int links_above);

    const ArchiveToRead& archive_;
    const PlannedTree& tree_;
    EntryReader& reader_;
    const Job& job_;
    std::unordered_map<const PlannedItem*, End> ends_;
};

} // namespace orv::archive
