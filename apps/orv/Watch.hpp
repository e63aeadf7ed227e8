#pragma once

#include "CommandLine.hpp"
#include "Commands.hpp"

#include <orv/Misc/FileItem.hpp>
#include <orv/utility/Url.hpp>

namespace orv::app {

/// Writes the list of a folder, then a line for each change, until it is interrupted or the folder
/// is gone. The list is in the order asked for, or else in `stored_sort`.
///
/// Errors: that the folder cannot be listed; those of the output.
void watch(const Url& folder, const ListCommand& command, SortType stored_sort,
           const Surroundings& surroundings);

/// Writes the items of a folder or tree as they are found, in no order, with flat memory.
///
/// Errors: that the folder cannot be listed; those of the output.
void write_unsorted(const Url& folder, const ListCommand& command,
                    const Surroundings& surroundings);

} // namespace orv::app
