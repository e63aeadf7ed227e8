#pragma once

#include "Text.hpp"

#include <string>
#include <string_view>

#include <unistd.h>

namespace orv::app {

/// Turns a name into what is written for it on standard output: on a terminal it is made safe to
/// show, elsewhere it is written as it is.
class Names {
public:
    std::string operator()(std::string_view name) const
    {
        return is_terminal_ ? printable(name) : std::string(name);
    }

private:
    bool is_terminal_ = ::isatty(STDOUT_FILENO) == 1;
};

} // namespace orv::app
