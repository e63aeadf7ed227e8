#pragma once

#include <orv/utility/Url.hpp>

#include <cstdint>
#include <string>

namespace orv {

/// How far a copy has come.
struct CopyProgress {
    std::string item_name = {}; ///< the current item
    bool is_item_dir = false;
    float value = 0; ///< of the whole request, 0 to 1
};

/// How far the making of a file has come.
struct GeneralProgress {
    Url current_item = {}; ///< the current item
    float value = 0;       ///< of the whole request, 0 to 1
};

/// The finished part of a request; -1 for an unknown figure.
///
/// Items are files, folders and links at every depth. A move by a new name alone counts as one item
/// without bytes. A total is never less than the finished part.
struct Amount {
    std::int64_t bytes_done = -1;
    std::int64_t bytes_total = -1;
    std::int64_t items_done = -1;
    std::int64_t items_total = -1;
};

} // namespace orv
