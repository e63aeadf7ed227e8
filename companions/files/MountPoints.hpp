#pragma once

#include <orv/utility/Url.hpp>

#include <vector>

namespace orv {

/// The mount points of volumes, without those for the system's own use.
///
/// Threading: any.
[[nodiscard]] std::vector<Url> mount_points();

/// The mount point of the volume with the existing folder `url`.
[[nodiscard]] Url mount_point_of(const Url& url);

} // namespace orv
