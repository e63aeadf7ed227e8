#pragma once

#include <orv/utility/Error.hpp>
#include <orv/utility/Url.hpp>

namespace orv {

/// A left-out item of a request, and the reason.
struct Failure {
    Url url;
    Error error;
};

} // namespace orv
