#pragma once

#include <orv/utility/Url.hpp>

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

} // namespace orv
