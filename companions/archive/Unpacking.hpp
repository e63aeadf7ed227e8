#pragma once

#include "archive/EntryReader.hpp"
#include "archive/Job.hpp"
#include "archive/UnpackingPlan.hpp"
#include "files/PartialFile.hpp"

namespace orv::archive {

/// Creates the planned items in the open folder `destination`.
///
/// Errors: those of `EntryReader::read`; the platform's.
void unpack(const ArchiveToRead& archive, const UnpackingPlan& plan, EntryReader& reader,
            const DestinationFolder& destination, Job& job);

} // namespace orv::archive
