#pragma once

#include "archive/EntryReader.hpp"
#include "archive/Job.hpp"
#include "archive/UnpackingPlan.hpp"

namespace orv::archive {

/// Where things are unpacked.
struct UnpackingPlace {
    const Url& folder;
    const Zip::UnfinishedName& unfinished_name;
};

/// Creates what is planned at that place.
///
/// Errors: those of `EntryReader::read`; the platform's.
void unpack(const ArchiveToRead& archive, const UnpackingPlan& plan, EntryReader& reader,
            const UnpackingPlace& place, Job& job);

} // namespace orv::archive
