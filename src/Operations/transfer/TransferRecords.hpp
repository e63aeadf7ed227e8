#pragma once

#include "CustomAttributes/RecCustomAttr.hpp"
#include "utility/StopWatch.hpp"

#include <orv/utility/Url.hpp>

#include <optional>
#include <string>
#include <vector>

namespace orv {

/// Gives the copied items of a transfer the attribute rows of their originals, several in one go.
/// Sources come from several folders; all go to one.
///
/// Threading: one background thread.
/// Errors: those of the database.
class TransferRecords {
public:
    /// The item of that name before the copy: its rows are deleted, and rows of an earlier item,
    /// too. A new folder has none below it.
    enum class Before { maybe_rows, no_rows };

    explicit TransferRecords(const Url& folder);

    /// Further items come from this folder.
    void come_from(const Url& folder);

    /// Notes the copy of the item at the relative path `from` in the sources' folder to `to` in the
    /// destination. Its row follows now or within some items.
    void add(const std::string& from, const std::string& to, Before before);

    /// Holds back the rows until `release`: the noted items are still hidden, and replace the item
    /// at `to` when they appear.
    void hold();
    void release(const std::string& to);
    /// Instead of `release`: the items noted since never appear.
    void drop();

    /// Writes the rows of all noted items.
    void write();

private:
    void add_stale(const std::string& to);
    void write_if_due();

    RecordKey destination_;
    bool any_at_destination_;
    std::optional<Url> source_folder_;
    std::optional<RecordKey> source_;
    bool any_at_source_ = false;
    bool is_held_ = false;
    std::vector<RecordKey> stale_;
    std::vector<RecordCopy> copies_;
    StopWatch waiting_since_;
};

} // namespace orv
