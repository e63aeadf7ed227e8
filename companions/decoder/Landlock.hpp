#pragma once

namespace orv::decoder {

/// Takes every right to files by their names from this thread and those that it makes, and to
/// connect to anything, on kernels that can do that (from Linux 5.13 on); a second wall behind the
/// filter of system calls. What is open stays so.
///
/// Errors: an `Error` when the kernel can do that, and does not.
void forbid_files_by_name();

} // namespace orv::decoder
