#pragma once

#include <orv/utility/Url.hpp>

#include <string>

namespace orv {

/// True if a volume is mounted at `url`, as far as the kernel tells.
[[nodiscard]] bool is_mount_point(const Url& url);

/// A volume and the place that it is mounted at, to be recognised after a restart.
struct MountedVolume {
    std::string mount_point;
    std::string identity; ///< tells it from another volume at the same place

    /// The volume of an open folder. Both texts are empty if nothing is known about it.
    static MountedVolume of(int folder, const Url& url);

    /// True if the volume is mounted at its place now, or if nothing is known about it.
    [[nodiscard]] bool is_mounted() const;
};

} // namespace orv
