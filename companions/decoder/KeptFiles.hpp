#pragma once

#include <string>
#include <string_view>

namespace orv::decoder {

// Libraries open fonts and tables by path, at any time during a document. A confined process can
// open nothing. This program replaces the C library's `open`, `fopen`, `access` and `fstat` with
// functions of its own: they find the files opened before by the same path.

/// Opens a file for reading, for later opens by its path in the confined process. True if the file
/// opened and there is room for it.
///
/// Threading: only before any thread opens files.
bool keep_file(const std::string& path);

/// Keeps all files below a folder; none where there is no such folder.
void keep_files_below(std::string_view folder);

} // namespace orv::decoder
