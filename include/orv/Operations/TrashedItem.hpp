#pragma once

#include <orv/utility/Url.hpp>

#include <chrono>
#include <cstdint>
#include <optional>

namespace orv {

/// An item that was thrown away and lies in a trash folder.
struct TrashedItem {
    Url url;          ///< where it lies now
    Url original_url; ///< where it was, and where it is restored to; empty if that is not known
    std::optional<std::chrono::sys_seconds> deletion_date; ///< none if that is not known
    bool is_dir = false;
    /// Bytes. Of a folder what it takes on its volume; none until it was fetched.
    std::optional<std::int64_t> size;
};

} // namespace orv
