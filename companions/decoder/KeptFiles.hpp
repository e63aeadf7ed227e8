#pragma once

#include <string>
#include <string_view>

namespace orv::decoder {

// Libraries open fonts and tables by path, whenever a document asks for one. A confined process can
// open nothing; what it has opened before is found again by the same path, since this program has
// functions of its own in place of the C library's `open`, `fopen` and `fstat`.

/// Opens a file for reading, to be opened again by its path after the process is confined.
/// True if the file could be opened, and there is room for it.
///
/// Threading: only before any thread opens files.
bool keep_file(const std::string& path);

/// Keeps all files below a folder; none where there is no such folder.
void keep_files_below(std::string_view folder);

} // namespace orv::decoder
