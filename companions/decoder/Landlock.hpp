#pragma once

namespace orv::decoder {

// A second wall behind the filter of system calls, on kernels that have it (from Linux 5.13 on).
// Both functions are about this thread and those that it makes from then on; what is open stays so.
//
// Errors: an `Error` when the kernel has Landlock, and does not do it.

/// Takes the rights to change files by their names, to run programs and to connect to anything.
void forbid_all_but_reading();

/// Takes the right to read files by their names, too.
void forbid_files_by_name();

} // namespace orv::decoder
