#pragma once

#include "archive/ArchiveFile.hpp"
#include "archive/Job.hpp"
#include "archive/PackingStyle.hpp"

#include <vector>

namespace orv::archive {

/// Packs the items at `paths` into `archive`, and finishes it.
///
/// Errors: `Zip::Error` for a path where nothing is; the platform's.
void pack(const std::vector<Url>& paths, ArchiveFile& archive, const PackingStyle& style, Job& job);

} // namespace orv::archive
