#pragma once

#include "CustomAttributes/RecCustomAttr.hpp"
#include "CustomAttributes/ReplacedRecords.hpp"

#include <orv/utility/FunctionRef.hpp>

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace orv {

/// The records of a moving item and of everything below it. At every moment, even after a power
/// cut, they exist for the place of the item; at worst for both places.
///
/// Other processes may move the same item meanwhile, so a record leaves one place only while the
/// other one has it. A move without records of its own leaves the records of the free new place
/// alone: they may be its own.
///
/// Threading: any; each function is a turn of the database of its own.
/// Errors: those of the database.
class RecordMove {
public:
    /// With `replaces`, the records of the new place belong to an item the move removes. After a
    /// kill before that, the next start stores them again.
    RecordMove(RecordKey from, RecordKey to, bool replaces);
    ~RecordMove();
    RecordMove(const RecordMove&) = delete;
    RecordMove& operator=(const RecordMove&) = delete;

    /// Stores the records for the new place, too, and flushes them to the disk. Call it before the
    /// item takes the place. Calls `check` if there are any records; an exception from it ends the
    /// call.
    void store_for_both(FunctionRef<void()> check);

    /// The same for many moves, with one flush.
    static void store_each_for_both(std::span<const std::unique_ptr<RecordMove>> moves);

    /// True if records were found for one of the two places.
    [[nodiscard]] bool has_any() const { return any_; }

    /// Stores the former records of the new place again, after the item did not get it. Nothing
    /// happens if the item `is_there` all the same: another process has moved it.
    void take_back(FunctionRef<bool()> is_there);

    /// Deletes the records of the old place after the item has left it, if `has_moved` still holds.
    /// Later changes at the old place arrive at the new one; a record reset meanwhile does not.
    /// Calls `make_durable` before the first deletion: no power cut may undo the move after it.
    void finish(FunctionRef<void()> make_durable, FunctionRef<bool()> has_moved);

private:
    [[nodiscard]] bool look();
    void store(FunctionRef<void()> check);
    void remember_stored();
    void carry_changes();

    RecordKey from_;
    RecordKey to_;
    bool replaces_;
    std::int64_t number_; // of this move in the table of first forms
    bool any_ = false;    // stored for one of the two places
    std::vector<RecCustomAttr> replaced_;
    ReplacedRecords kept_; // the same, for the next start
};

} // namespace orv
