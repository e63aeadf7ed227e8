#pragma once

#include "Operations/frame/ErrorPlace.hpp"
#include "Operations/frame/UrlLocker.hpp"
#include "Tool/Tool.hpp"
#include "files/ItemStatus.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/Url.hpp>

#include <source_location>
#include <string>
#include <vector>

namespace orv {

/// Refuses anything but a folder.
///
/// Errors: `no_item` when there is nothing, with the reason if its volume is gone; `no_folder` when
/// it is something else; each told the location.
inline void check_is_folder(const Url& url, const Error& no_item, const Error& no_folder)
{
    if (Tool::is_directory(url))
        return;
    if (Tool::item_exists(url))
        throw no_folder.known_as(Cause::wrong_kind).at(url);
    throw missing_item(no_item, url);
}

/// Refuses an unfit destination of a batch.
///
/// Errors: "Destination folder doesn't exist."; "Destination url must point to a folder."
inline void check_destination_folder(const Url& folder, const ErrorPlace& place,
                                     std::source_location where = std::source_location::current())
{
    check_is_folder(folder, place("Destination folder doesn't exist.", where),
                    place("Destination url must point to a folder.", where));
}

/// Refuses a batch if one of its items cannot go into the folder, before any of them goes.
///
/// Errors: "Source url must end in the name of an item, not in "." or ".."."; an error if the
/// folder lies in a source, or is one.
inline void check_sources(const std::vector<Url>& sources, const Url& folder,
                          const ErrorPlace& place,
                          std::source_location where = std::source_location::current())
{
    const Url resolved = folder.resolving_symlinks();
    for (const Url& source : sources) {
        const std::string name = source.last_path_component();
        if (name == "." || name == "..")
            throw place("Source url must end in the name of an item, not in \".\" or \"..\".",
                        where)
                .known_as(Cause::invalid)
                .at(source);
        const bool may_hold_folder = Tool::is_directory(source) && name != "/";
        if (may_hold_folder && relative_path(resolved, source.resolving_symlinks()))
            throw source_conflict(source);
    }
}

} // namespace orv
