#pragma once

#include "CommandLine.hpp"
#include "LargeOutput.hpp"

#include <orv/Misc/FileItem.hpp>

#include <vector>

namespace orv::app {

/// Writes `items`, one a line. On a terminal names are made safe to show; elsewhere they are
/// written as they are, save in JSON.
///
/// Errors: those of `output`.
void write_listing(LargeOutput& output, const std::vector<FileItem>& items, ListCommand::Form form);

} // namespace orv::app
