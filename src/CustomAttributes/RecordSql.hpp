#pragma once

#include "database/Value.hpp"

#include <string>
#include <vector>

namespace orv {

/// The texts, one after the other.
template <class... Texts>
std::string sql(const Texts&... texts)
{
    std::string result;
    (result.append(texts), ...);
    return result;
}

/// The lists of arguments, one after the other.
template <class... Lists>
std::vector<Argument> joined(const Lists&... lists)
{
    std::vector<Argument> arguments;
    (arguments.insert(arguments.end(), lists.begin(), lists.end()), ...);
    return arguments;
}

} // namespace orv
