#pragma once

#include <orv/utility/Url.hpp>

namespace orv {

/// The abilities of the volume that a database lies on.
struct DatabaseVolume {
    /// Several processes can share memory through a file, now and later. A write-ahead log needs
    /// that.
    bool shares_memory = true;
    /// Files can be written to the disk at a given moment.
    bool flushes = true;

    /// Tries them with a file beside `file`, and leaves none behind.
    [[nodiscard]] static DatabaseVolume of(const Url& file);
};

} // namespace orv
