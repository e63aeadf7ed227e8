#pragma once

#include "CustomAttributes/RecCustomAttr.hpp"
#include "utility/StopWatch.hpp"

#include <orv/utility/Url.hpp>

#include <optional>
#include <string>
#include <vector>

namespace orv {

/// Gives the items that a transfer has copied the attribute rows of their originals, several in one
/// go. Sources come from several folders; all go to one.
///
/// Threading: one background thread.
/// Errors: those of the database.
class TransferRecords {
public:
    /// What stood under the name of a copy before: rows of an item that it replaces, or of an
    /// earlier one of its name, are deleted. Below a new folder there are none.
    enum class Before { maybe_rows, no_rows };

    explicit TransferRecords(const Url& folder);

    /// Further items come from this folder.
    void come_from(const Url& folder);

    /// Notes that the item at the relative path `from` in the folder of the sources now is at
    /// `to` in the destination, too. Its row follows now or within some items.
    void add(const std::string& from, const std::string& to, Before before);

    /// From now on nothing is written until `release`: what is noted is still hidden, and replaces
    /// the item at `to` when it appears.
    void hold();
    void release(const std::string& to);
    /// Instead of `release`: what was noted since never appears.
    void drop();

    /// Writes the rows of all items that were noted.
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
