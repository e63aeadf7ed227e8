#include "CustomAttributes/RecordMove.hpp"

#include "CustomAttributes/ItemIdentity.hpp"
#include "CustomAttributes/RecordSql.hpp"
#include "CustomAttributes/RecordTree.hpp"
#include "Database/DBManager.hpp"

#include <orv/utility/Error.hpp>

#include <array>
#include <atomic>
#include <utility>

namespace orv {
namespace {

using Values = std::array<Argument, 1>;

std::int64_t next_number()
{
    static std::atomic<std::int64_t> last = 0;
    return ++last;
}

Database& moves_database()
{
    return shared_db_manager().db();
}

/// The table of the rows stored by moves under way, in their first form; each connection has one.
void make_table()
{
    moves_database().execute(
        "CREATE TEMP TABLE IF NOT EXISTS stored_by_moves (move, relative_path,"
        " is_protected, order_no, is_custom_sorted,"
        " was_custom_sorted_at_least_once, PRIMARY KEY (move, relative_path))");
}

} // namespace

RecordMove::RecordMove(RecordKey from, RecordKey to, bool replaces)
    : from_(std::move(from)), to_(std::move(to)), replaces_(replaces), number_(next_number()),
      kept_(to_)
{
}

RecordMove::~RecordMove()
{
    if (!any_)
        return;
    try {
        make_table();
        moves_database().execute("DELETE FROM temp.stored_by_moves WHERE move = ?", {number_});
    } catch (const Error&) {
        return; // the table goes with the process
    }
}

void RecordMove::store_for_both(FunctionRef<void()> check)
{
    const bool any_from = moves_database().read_transaction([&] { return look(); });
    const auto store_this = [&] { store(check); };
    if (any_from)
        moves_database().durable_save_point(store_this);
    else if (any_)
        moves_database().save_point(store_this);
}

void RecordMove::store_each_for_both(std::span<const std::unique_ptr<RecordMove>> moves)
{
    bool any_from = false;
    bool any = false;
    moves_database().read_transaction([&] {
        for (const auto& move : moves) {
            any_from = move->look() || any_from;
            any = any || move->any_;
        }
    });
    const auto store_all = [&] {
        for (const auto& move : moves)
            if (move->any_)
                move->store([] {});
    };
    if (any_from)
        moves_database().durable_save_point(store_all);
    else if (any)
        moves_database().save_point(store_all);
}

/// Looks for records of both places. True if the old one has any.
bool RecordMove::look()
{
    if (from_ == to_)
        return false;
    const bool any_from = RecCustomAttr::any_records_below(from_);
    any_ = any_from || RecCustomAttr::any_records_below(to_);
    return any_from;
}

void RecordMove::store(FunctionRef<void()> check)
{
    check();
    if (!RecCustomAttr::any_records_below(from_) && !replaces_)
        return;
    replaced_ = RecCustomAttr::fetch_tree(to_);
    if (replaces_)
        kept_.keep();
    RecCustomAttr::delete_records(to_);
    RecCustomAttr::duplicate_records(from_, to_);
    remember_stored();
}

void RecordMove::take_back(FunctionRef<bool()> is_there)
{
    if (!any_)
        return;
    moves_database().save_point([&] {
        kept_.forget();
        if (is_there())
            return;
        // Also if the old place has none: a move elsewhere took the item and its records along.
        RecCustomAttr::delete_records(to_);
        RecCustomAttr::replace_all(replaced_);
    });
}

void RecordMove::finish(FunctionRef<void()> make_durable, FunctionRef<bool()> has_moved)
{
    if (from_ == to_ || !(any_ || RecCustomAttr::any_records_below(from_)))
        return;
    make_durable();
    moves_database().save_point([&] {
        kept_.forget();
        if (!RecCustomAttr::any_records_below(from_) || !has_moved())
            return;
        carry_changes();
        RecItemIdentity::duplicate(from_, to_);
        RecCustomAttr::delete_records(from_);
    });
}

void RecordMove::remember_stored()
{
    make_table();
    moves_database().execute(sql("REPLACE INTO temp.stored_by_moves SELECT ?, relative_path,"
                                 " is_protected, order_no, is_custom_sorted,"
                                 " was_custom_sorted_at_least_once FROM custom_attributes WHERE ",
                                 RecordTree::condition),
                             joined(Values{number_}, RecordTree(from_).ranges()));
}

/// Stores the later changes of the old place's rows at the new place. If a row is missing at the
/// new place, another process moved the item in between.
void RecordMove::carry_changes()
{
    make_table();
    const RecordTree from(from_);
    const RecordTree to(to_);
    moves_database().execute(
        sql("REPLACE INTO custom_attributes (relative_path, is_protected, order_no,"
            " is_custom_sorted, was_custom_sorted_at_least_once) SELECT ",
            RecordTree::replaced_key,
            ", is_protected, order_no, is_custom_sorted, was_custom_sorted_at_least_once"
            " FROM custom_attributes WHERE ",
            RecordTree::condition,
            " AND (NOT EXISTS (SELECT 1 FROM temp.stored_by_moves AS stored WHERE move = ?"
            " AND stored.relative_path = custom_attributes.relative_path"
            " AND stored.is_protected IS custom_attributes.is_protected"
            " AND stored.order_no IS custom_attributes.order_no"
            " AND stored.is_custom_sorted IS custom_attributes.is_custom_sorted"
            " AND stored.was_custom_sorted_at_least_once"
            " IS custom_attributes.was_custom_sorted_at_least_once)"
            " OR NOT EXISTS (SELECT 1 FROM custom_attributes AS there"
            " WHERE there.relative_path = ",
            RecordTree::replaced_key, "))"),
        joined(from.replacement(to), from.ranges(), Values{number_}, from.replacement(to)));
}

} // namespace orv
