#pragma once

#include "CustomAttributes/RecCustomAttr.hpp"

#include <orv/utility/FunctionRef.hpp>

#include <cstdint>
#include <vector>

namespace orv {

/// The records of an item that gets a new place, and of everything below it. At every moment, also
/// after a power cut, they are stored for the place where the item is; at worst for both.
///
/// Other processes may move the same item meanwhile. So records are only ever deleted for one place
/// while they are stored for the other, and what is stored for a place where nothing stands, and
/// where an item without records moves to, is left alone: it may be that of the item itself.
///
/// Threading: any; each function is a turn of the database of its own.
/// Errors: those of the database.
class RecordMove {
public:
    /// With `replaces`, what is stored for the new place is that of an item which the move removes.
    RecordMove(RecordKey from, RecordKey to, bool replaces);
    ~RecordMove();
    RecordMove(const RecordMove&) = delete;
    RecordMove& operator=(const RecordMove&) = delete;

    /// To be called before the item gets its new place: stores its records for that alone, too, on
    /// the disk. `check` is called if any are stored; what it throws ends the call.
    void store_for_both(FunctionRef<void()> check);

    /// To be called when the item did not get its new place: stores for that what was stored there
    /// before, unless the item `is_there`, where another process has moved it.
    void take_back(FunctionRef<bool()> is_there);

    /// To be called when the item has its new place: deletes its records at the old one, if
    /// `has_moved` holds still. What was saved for the old place meanwhile arrives at the new one.
    /// If there is anything to delete, `make_durable` is called before, after which no power cut is
    /// to undo the move.
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
