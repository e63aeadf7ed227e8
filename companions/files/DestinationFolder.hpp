#pragma once

#include <orv/utility/Url.hpp>

namespace orv {

/// An open folder for new items, and its location for errors. Owns nothing.
struct DestinationFolder {
    int fd = -1;
    Url url = {};
};

} // namespace orv
