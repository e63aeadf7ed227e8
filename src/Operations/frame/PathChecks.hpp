#pragma once

#include "Operations/frame/ErrorPlace.hpp"
#include "Tool/Tool.hpp"
#include "files/ItemStatus.hpp"

#include <orv/utility/Url.hpp>

namespace orv {

/// The documented lines in the errors of `check_path`.
struct PathErrorLines {
    int undefined = __LINE__;
    int root = __LINE__;
};

/// Refuses locations no request may work on. `subject` begins the sentence: "Given", "Source" or
/// "Destination".
///
/// Errors: "… url points to an undefined path."; "… url points to root directory."
inline void check_path(const Url& url, std::string_view subject, const ErrorPlace& place,
                       PathErrorLines lines = {})
{
    const std::string path = url.standardized().path();
    if (path.empty())
        throw place(std::string(subject) + " url points to an undefined path.", lines.undefined)
            .known_as(Cause::invalid);
    if (path == "/")
        throw place(std::string(subject) + " url points to root directory.", lines.root)
            .known_as(Cause::invalid)
            .at(url);
}

/// Refuses a copy or a move between locations no request may work on, or of nothing.
///
/// Errors: those of `check_path`; "Source item doesn't exist."
inline void
check_source_and_destination(const Url& source, const Url& destination, const ErrorPlace& place,
                             std::source_location where = std::source_location::current())
{
    check_path(source, "Source", place);
    check_path(destination, "Destination", place);
    if (!Tool::item_exists(source))
        throw missing_item(place("Source item doesn't exist.", where), source);
}

} // namespace orv
