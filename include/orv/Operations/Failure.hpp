#pragma once

#include <orv/utility/Error.hpp>
#include <orv/utility/Url.hpp>

namespace orv {

/// An item that a request left out, and why.
struct Failure {
    Url url;
    Error error;
};

} // namespace orv
