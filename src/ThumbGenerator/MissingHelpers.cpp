#include "ThumbGenerator/MissingHelpers.hpp"

#include <orv/utility/Locations.hpp>

#include <iostream>
#include <mutex>
#include <string>

#include <unistd.h>

namespace orv {

void warn_of_missing_helpers()
{
    static std::once_flag once;
    std::call_once(once, [] {
        const std::string& folder = helper_dir().path();
        if (::access(folder.c_str(), F_OK) == 0)
            return;
        std::cerr << "orv: There are only placeholders for thumbnails, because the programs that "
                     "decode pictures and films are not in " +
                         folder +
                         "; set ORV_PREFIX to the prefix that the library was installed under, or "
                         "helper_dir in its locations.\n"
                  << std::flush;
    });
}

} // namespace orv
