#pragma once

#include "CustomAttributes/RecCustomAttr.hpp"

#include <orv/utility/FunctionRef.hpp>

#include <cstdint>
#include <vector>

namespace orv {

/// The records of an item that gets a new place, and of everything below it. At every moment, also
/// after a power cut, they are stored for the place where the item is; at worst for both.
///
/// Other processes may move the same item meanwhile. So a record goes from one place only while the
/// other one has it. An item without records leaves those alone that are stored for its new place,
/// where nothing stands: they may be its own.
///
/// Threading: any; each function is a turn of the database of its own.
/// Errors: those of the database.
class RecordMove {
public:
    /// With `replaces`, the records of the new place are those of an item that the move removes.
    RecordMove(RecordKey from, RecordKey to, bool replaces);
    ~RecordMove();
    RecordMove(const RecordMove&) = delete;
    RecordMove& operator=(const RecordMove&) = delete;

    /// Stores the records for the new place, too, on the disk, and nothing else for that. Call it
    /// before the item gets the place. `check` is called if there are any records; it throws to end
    /// the call.
    void store_for_both(FunctionRef<void()> check);

    /// Stores the former records of the new place again, after the item did not get it. Nothing
    /// happens if the item `is_there` all the same: another process has moved it.
    void take_back(FunctionRef<bool()> is_there);

    /// Deletes the records of the old place, after the item has left it, if `has_moved` holds
    /// still. Records that were saved for the old place meanwhile arrive at the new one; one that
    /// was reset meanwhile does not. `make_durable` is called before anything is deleted; no power
    /// cut is to undo the move after that.
    void finish(FunctionRef<void()> make_durable, FunctionRef<bool()> has_moved);

private:
    void remember_stored();
    void carry_changes();

    RecordKey from_;
    RecordKey to_;
    bool replaces_;
    std::int64_t number_; // of this move in the table of what was stored
    bool any_ = false;    // was stored for one of the two places
    std::vector<RecCustomAttr> replaced_;
};

} // namespace orv
