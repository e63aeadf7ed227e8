#pragma once

namespace orv::decoder {

// A second wall behind the filter of system calls, on kernels with Landlock (Linux 5.13 and later).
// Both functions bind this thread and its later children; open files stay open.
//
// Errors: an `Error` when the kernel has Landlock, and does not do it.

/// Takes the rights to change files by their names, to run programs and to connect to anything.
void forbid_all_but_reading();

/// Takes the right to read files by their names, too.
void forbid_files_by_name();

} // namespace orv::decoder
