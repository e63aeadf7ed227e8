#pragma once

namespace orv {

/// Writes a line to standard error, once per process, if the programs that decode pictures and
/// films are missing.
///
/// Threading: any.
void warn_of_missing_helpers();

} // namespace orv
