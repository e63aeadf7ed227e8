#pragma once

#include <orv/utility/Url.hpp>

namespace orv {

/// The abilities of the volume with the database.
struct DatabaseVolume {
    /// True if several processes can share memory through a file, now and later. A write-ahead log
    /// needs this.
    bool shares_memory = true;
    /// True if files can be flushed to the disk at a given moment.
    bool flushes = true;

    /// Tries them with a file beside `file`, and leaves none behind.
    [[nodiscard]] static DatabaseVolume of(const Url& file);
};

} // namespace orv
