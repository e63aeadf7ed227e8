#pragma once

#include <orv/utility/Url.hpp>

#include <string>

namespace orv {

/// True if a volume is mounted at `url`, as far as the kernel tells.
[[nodiscard]] bool is_mount_point(const Url& url);

/// A volume and its mount point, for recognition after a restart.
struct MountedVolume {
    std::string mount_point;
    std::string identity; ///< tells it from another volume at the same place

    /// The volume of an open folder. Both texts are empty for an unknown one.
    static MountedVolume of(int folder, const Url& url);

    /// True if the volume is at its mount point now, or if it is unknown.
    [[nodiscard]] bool is_mounted() const;
};

} // namespace orv
