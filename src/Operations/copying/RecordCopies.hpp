#pragma once

#include "CustomAttributes/RecCustomAttr.hpp"
#include "utility/StopWatch.hpp"

#include <orv/utility/Url.hpp>

#include <string>
#include <vector>

namespace orv {

/// Gives the items that a copy has made the attribute rows of their originals, several in one go.
/// Rows of an item that the copy replaces, or of an earlier item of its name, are deleted.
///
/// Threading: one background thread.
/// Errors: those of the database.
class RecordCopies {
public:
    /// What stands at the destination before the copy. A copy that replaces an item appears as a
    /// whole; until then the rows there are those of the item it replaces.
    enum class Onto { nothing, folder_to_merge_with, replaced_item };

    RecordCopies(const Url& source, const Url& destination, Onto onto);

    /// Notes that the item at `relative_path` below the source, the source itself for an empty one,
    /// now is at the destination, too. Its row follows now or within some items, or at the end if
    /// the copy replaces an item.
    void add(const std::string& relative_path);

    /// Writes the rows of all items that were noted.
    void write();

private:
    void write_noted();
    void keep_those_with_rows();

    RecordKey source_;
    RecordKey destination_;
    Onto onto_;
    bool any_;
    bool any_stale_ = false;
    std::vector<RecordCopy> waiting_;
    std::vector<RecordCopy> kept_; // for the end
    StopWatch waiting_since_;
};

/// Those of `copies` whose originals have a row: of many items that wait for the end of a copy, few
/// take memory.
///
/// Errors: those of the database.
[[nodiscard]] std::vector<RecordCopy> those_with_rows(std::vector<RecordCopy> copies);

} // namespace orv
