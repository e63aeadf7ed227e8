#include "utility/FileNames.hpp"

namespace orv {

NameParts name_parts(std::string_view name)
{
    const std::size_t dot = name.rfind('.');
    const bool is_whole = dot == std::string_view::npos || dot + 1 == name.size() ||
                          name.find_first_not_of('.') >= dot;
    if (is_whole)
        return {name, {}};
    return {name.substr(0, dot), name.substr(dot + 1)};
}

} // namespace orv
