#pragma once

#include <orv/utility/Url.hpp>

namespace orv {

/// An open folder in which items are made, and where it is found, for the errors. Owns nothing.
struct DestinationFolder {
    int fd = -1;
    Url url = {};
};

} // namespace orv
