#pragma once

#include "Commands.hpp"

#include <orv/Operations/ConflictResolver.hpp>
#include <orv/utility/Url.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace orv::app {

/// Errors: an `Error` if there is a folder at `path`, or `path` has a folder's form.
void check_is_no_folder(const std::string& path);

/// Writes the data to a new file as the person at the terminal takes part in it.
///
/// Threading: main thread.
/// Errors: as of a command.
void write_new_file(const Url& file, std::vector<std::byte> data,
                    std::optional<ConflictBehaviour> on_conflict, const Surroundings& surroundings);

} // namespace orv::app
