#pragma once

#include "files/ReadWrite.hpp"

#include <orv/utility/FunctionRef.hpp>

namespace orv {

/// Makes sure that the medium holds in `copy` what the file `original` holds: the copy, which was
/// written to its medium before, is read from there and not from memory, as far as its file system
/// allows. `poll` is called now and then; what it throws ends the reading.
///
/// Errors: "The copy differs from its original.", at the copy; the platform's.
void check_reads_back(const OpenFile& original, const OpenFile& copy, FunctionRef<void()> poll);

} // namespace orv
