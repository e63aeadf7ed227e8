#pragma once

#include "files/ReadWrite.hpp"

#include <orv/utility/FunctionRef.hpp>

namespace orv {

/// Makes sure the medium holds the content of the file `original` in `copy`: reads the copy,
/// flushed before, from there and not from memory, as far as its file system allows. Calls `poll`
/// now and then; an exception from it ends the reading.
///
/// Errors: "The copy differs from its original.", at the copy; the platform's.
void check_reads_back(const OpenFile& original, const OpenFile& copy, FunctionRef<void()> poll);

} // namespace orv
