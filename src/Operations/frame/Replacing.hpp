#pragma once

#include <orv/utility/Error.hpp>
#include <orv/utility/Url.hpp>

namespace orv {

/// Deletes the attributes of an item that another one has replaced, and of all that was in it.
///
/// Errors: those of the database.
void delete_records_of_replaced(const Url& destination);

/// The error of a request that failed after it had deleted the item that it was to replace.
[[nodiscard]] Error after_removal(const Error& error);

/// Does `work`. If it `goes_first`, the item that is to be replaced is gone already, and an error
/// says so.
template <class Work>
auto told_of_removal(bool goes_first, Work work)
{
    try {
        return work();
    } catch (const Error& error) {
        throw goes_first ? after_removal(error) : error;
    }
}

} // namespace orv
