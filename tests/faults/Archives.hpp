#pragma once

#include "faults/Checker.hpp"

#include <string>

namespace orv::test {

/// The bytes of an archive that holds `items`, whose folders and files stand at its top.
[[nodiscard]] std::string packed(const Snapshot& items);

/// What of `items` comes out of an archive again: it keeps no extended attributes and no holes, and
/// times to 100 ns.
[[nodiscard]] Snapshot kept_by_archive(Snapshot items);

/// Gives a file among `items` that is the archive which `request` makes the content that it has
/// after the request: two archives of the same items need not be the same bytes.
void recognise_archive(const FaultCase& request, Snapshot& items,
                       Strictness strictness = Strictness::all);

} // namespace orv::test
