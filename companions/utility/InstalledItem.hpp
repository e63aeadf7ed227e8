#pragma once

#include <orv/utility/Url.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace orv {

/// What tells the prefix that the library is installed under.
struct InstallationClues {
    /// `$ORV_PREFIX`; the others do not count beside it.
    std::optional<Url> prefix_told = {};
    /// The file that holds the library's code: the shared library, or the program that it is linked
    /// into.
    Url code = {};
    /// Where the application's compiler found `<orv/utility/InstalledHeaders.hpp>`, or nothing.
    std::string header = {};
};

/// Returns the file or folder of the library's own that lies at `in_prefix` below the prefix. It
/// may not exist: then it is named where it should be.
///
/// The prefix is the one that the environment tells, else the first of these that has the item: the
/// one around the library or program, the one around the headers, /usr/local and /usr.
[[nodiscard]] Url installed_item(std::string_view in_prefix);

/// The same, from the clues given.
[[nodiscard]] Url installed_item(std::string_view in_prefix, const InstallationClues& clues);

} // namespace orv
