#pragma once

#include "CustomAttributes/RecCustomAttr.hpp"
#include "utility/StopWatch.hpp"

#include <orv/utility/Url.hpp>

#include <string>
#include <vector>

namespace orv {

/// Gives the copied items the attribute rows of their originals, several in one go. Deletes rows of
/// a replaced item, and of an earlier item of the same name.
///
/// Threading: one background thread.
/// Errors: those of the database.
class RecordCopies {
public:
    /// The item at the destination before the copy. A copy that replaces it appears as a whole, and
    /// until then the rows there belong to the old item.
    enum class Onto { nothing, folder_to_merge_with, replaced_item };

    RecordCopies(const Url& source, const Url& destination, Onto onto);

    /// Notes the copy of the item at `relative_path` below the source, or of the source itself for
    /// an empty path. Its row follows within some items, or at the end if the copy replaces an
    /// item.
    void add(const std::string& relative_path);

    /// Writes the rows of all noted items.
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

/// The `copies` whose originals have a row: of many items on hold to the end of a copy, few take
/// memory.
///
/// Errors: those of the database.
[[nodiscard]] std::vector<RecordCopy> those_with_rows(std::vector<RecordCopy> copies);

} // namespace orv
