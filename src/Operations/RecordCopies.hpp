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
    RecordCopies(const Url& source, const Url& destination);

    /// Notes that the item at `relative_path` below the source, the source itself for an empty one,
    /// now is at the destination, too. Its row follows now or within some items.
    void add(const std::string& relative_path);

    /// Writes the rows of all items that were noted.
    void write();

private:
    RecordKey source_;
    RecordKey destination_;
    bool any_;
    std::vector<RecordCopy> waiting_;
    StopWatch waiting_since_;
};

} // namespace orv
