#pragma once

#include "CommandLine.hpp"
#include "Commands.hpp"

#include <orv/Misc/FileItem.hpp>
#include <orv/utility/Url.hpp>

namespace orv::app {

/// Writes the list of a folder, then a line for each change, until Ctrl-C or the folder is gone.
/// The list has the requested order, or else `stored_sort`.
///
/// Errors: an error if the folder cannot be listed; those of the output.
void watch(const Url& folder, const ListCommand& command, SortType stored_sort,
           const Surroundings& surroundings);

/// Writes the items of a folder or tree in the order of discovery, with flat memory.
///
/// Errors: an error if the folder cannot be listed; those of the output.
void write_unsorted(const Url& folder, const ListCommand& command,
                    const Surroundings& surroundings);

} // namespace orv::app
