#pragma once

#include <orv/utility/Url.hpp>

#include <vector>

namespace orv {

/// The places at which volumes are mounted, those that only the system fills left out.
///
/// Threading: any.
[[nodiscard]] std::vector<Url> mount_points();

/// The place at which the volume of the existing folder `url` is mounted.
[[nodiscard]] Url mount_point_of(const Url& url);

} // namespace orv
