#include "Operations/MoveWithRecords.hpp"

#include "CustomAttributes/RecCustomAttr.hpp"
#include "Database/DBManager.hpp"
#include "Tool/Tool.hpp"
#include "files/SameItem.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>

namespace orv {

void move_with_records(const Url& from, const Url& to, bool replaces)
{
    // The attributes of an item that stands there must survive the attempt.
    if (!replaces && Tool::item_exists(to) && !is_other_spelling(from, to))
        throw move_error(platform_error(EEXIST, to));
    Database& database = shared_db_manager().db();
    const RecordKey old_key = record_key_of_entry(from);
    const RecordKey new_key = record_key_of_entry(to);

    database.sync([&] { RecCustomAttr::begin_move(old_key, new_key); });
    if (replaces)
        Tool::move_item_replacing(from, to);
    else
        Tool::move_item(from, to);
    database.sync([&] { RecCustomAttr::finish_move(old_key, new_key); });
}

} // namespace orv
