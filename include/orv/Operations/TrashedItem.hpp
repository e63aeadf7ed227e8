#pragma once

#include <orv/utility/Url.hpp>

#include <chrono>
#include <cstdint>
#include <optional>

namespace orv {

/// An item in a trash folder.
struct TrashedItem {
    Url url;          ///< where it lies now
    Url original_url; ///< its former place, and its place after a restore; empty if unknown
    std::optional<std::chrono::sys_seconds> deletion_date; ///< none if unknown
    bool is_dir = false;
    /// Bytes. For a folder the space on its volume; none before a fetch.
    std::optional<std::int64_t> size;
};

} // namespace orv
