#pragma once

#include "Operations/ErrorPlace.hpp"
#include "Tool/Tool.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/Url.hpp>

namespace orv {

/// Refuses what is no folder.
///
/// Errors: `no_item` when there is nothing, `no_folder` when it is something else; each told the
/// location.
inline void check_is_folder(const Url& url, const Error& no_item, const Error& no_folder)
{
    if (!Tool::item_exists(url))
        throw no_item.at(url);
    if (!Tool::is_directory(url))
        throw no_folder.at(url);
}

/// Refuses what a batch cannot go to.
///
/// Errors: "Destination folder doesn't exist."; "Destination url must point to a folder."
inline void check_destination_folder(const Url& folder, const ErrorPlace& place,
                                     std::source_location where = std::source_location::current())
{
    check_is_folder(folder, place("Destination folder doesn't exist.", where),
                    place("Destination url must point to a folder.", where));
}

} // namespace orv
