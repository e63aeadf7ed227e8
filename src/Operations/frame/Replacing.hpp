#pragma once

#include <orv/utility/Error.hpp>
#include <orv/utility/Url.hpp>

namespace orv {

/// Deletes the attributes of a replaced item and of all its contents.
///
/// Errors: those of the database.
void delete_records_of_replaced(const Url& destination);

/// The error of a request that failed after it had deleted the item to replace.
[[nodiscard]] Error after_removal(const Error& error);

/// Does `work`. If the old item `goes_first`, it is gone already, and an error says so.
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
