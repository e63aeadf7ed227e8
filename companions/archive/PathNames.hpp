#pragma once

#include <orv/utility/FunctionRef.hpp>

#include <algorithm>
#include <string_view>

namespace orv::archive {

/// A path in two: the folder part, empty for none, and the name.
struct PathParts {
    std::string_view folder;
    std::string_view name;
};

inline PathParts path_parts(std::string_view path)
{
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos)
        return {{}, path};
    return {path.substr(0, slash), path.substr(slash + 1)};
}

/// Calls `use` with one name of the path after the other, without the empty ones.
inline void for_each_name(std::string_view path, FunctionRef<void(std::string_view name)> use)
{
    while (!path.empty()) {
        const std::size_t size = std::min(path.find('/'), path.size());
        if (size > 0)
            use(path.substr(0, size));
        path.remove_prefix(std::min(size + 1, path.size()));
    }
}

} // namespace orv::archive
