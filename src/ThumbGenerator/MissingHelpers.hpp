#pragma once

namespace orv {

/// Writes a line to standard error, once in the life of the process, if the programs that decode
/// pictures and films are not where the library looks for them.
///
/// Threading: any.
void warn_of_missing_helpers();

} // namespace orv
