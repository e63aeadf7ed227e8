#pragma once

#include "CustomAttributes/RecCustomAttr.hpp"
#include "utility/StopWatch.hpp"

#include <orv/utility/Url.hpp>

#include <string>
#include <vector>

namespace orv {

/// Gives the items that a copy has made the attribute rows of their originals, several in one go.
///
/// Threading: one background thread.
/// Errors: those of the database.
class RecordCopies {
public:
    /// A copy that replaces an item appears at its destination as a whole. Until then the rows
    /// there are those of the item it replaces.
    enum class Pace { with_the_items, at_the_end };

    RecordCopies(const Url& source, const Url& destination, Pace pace);

    /// Notes that the item at `relative_path` below the source, the source itself for an empty one,
    /// now is at the destination, too. Its row follows at the pace given.
    void add(const std::string& relative_path);

    /// Writes the rows of all items that were noted.
    void write();

private:
    RecordKey source_;
    RecordKey destination_;
    bool any_;
    Pace pace_;
    std::vector<RecordCopy> waiting_;
    StopWatch waiting_since_;
};

} // namespace orv
