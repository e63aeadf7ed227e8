#pragma once

#include "Operations/ErrorPlace.hpp"

#include <orv/utility/Url.hpp>

namespace orv {

/// Refuses the locations on which no request may work. `subject` begins the sentence: "Given",
/// "Source" or "Destination".
///
/// Errors: "… url points to an undefined path."; "… url points to root directory."
inline void check_path(const Url& url, std::string_view subject, const ErrorPlace& place)
{
    const std::string path = url.standardized().path();
    if (path.empty())
        throw place(std::string(subject) + " url points to an undefined path.");
    if (path == "/")
        throw place(std::string(subject) + " url points to root directory.").at(url);
}

} // namespace orv
