#pragma once

#include "archive/EntryReader.hpp"
#include "archive/Job.hpp"
#include "archive/UnpackingPlan.hpp"

namespace orv::archive {

/// Creates what is planned in the folder `destination`.
///
/// Errors: those of `EntryReader::read`; the platform's.
void unpack(const ArchiveToRead& archive, const UnpackingPlan& plan, EntryReader& reader,
            const Url& destination, Job& job);

} // namespace orv::archive
