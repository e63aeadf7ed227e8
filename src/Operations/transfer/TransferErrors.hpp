#pragma once

#include "Operations/frame/ErrorPlace.hpp"
#include "files/ItemStatus.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/Url.hpp>

#include <cerrno>
#include <string>

namespace orv {

inline constexpr ErrorPlace transfer_place{"src/Operations/TransferOpr",
                                           "transfer(plan:status_closure:)"};

/// Ends a transfer, because its policy is to stop at this error.
struct TransferEnd {
    Error error;
};

/// The error of a taken name under the policy to stop.
[[nodiscard]] inline Error name_is_taken(const Url& destination)
{
    return transfer_place("Destination item already exists.").at(destination);
}

/// The error of a folder in the way of a file, or the other way round, if only files may be
/// replaced.
[[nodiscard]] inline Error other_kind(const Url& destination)
{
    return transfer_place("A file and a folder have the same name.").at(destination);
}

/// The error of a copy that does not get its name.
[[nodiscard]] inline Error copy_error(const Error& cause)
{
    return transfer_place("Couldn't copy the item.").because_of(cause);
}

/// `error`, or the documented error for a missing item at `source`.
[[nodiscard]] inline Error source_error(const Error& error, const Url& source)
{
    return error.code() == ENOENT
               ? missing_item(transfer_place("Source item doesn't exist."), source)
               : error;
}

/// The error of an item whose name another item of the transfer has got.
[[nodiscard]] inline Error two_of_a_name(const Url& source)
{
    return transfer_place("Two of the items have this name.").at(source);
}

/// Refuses a text that cannot be the name of an item.
///
/// Errors: "New name cannot be an empty string."; "New name cannot contain a slash."; "New name
/// cannot be "." or ".."."
inline void check_name(const std::string& name, const Url& item)
{
    if (name.empty())
        throw transfer_place("New name cannot be an empty string.").at(item);
    if (name.find('/') != std::string::npos || name.find('\0') != std::string::npos)
        throw transfer_place("New name cannot contain a slash.").at(item);
    if (name == "." || name == "..")
        throw transfer_place("New name cannot be \".\" or \"..\".").at(item);
}

} // namespace orv
