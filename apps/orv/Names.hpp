#pragma once

#include "Text.hpp"

#include <string>
#include <string_view>

#include <unistd.h>

namespace orv::app {

/// The form of a name on standard output: safe to show on a terminal, unchanged elsewhere.
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
