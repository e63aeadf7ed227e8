#pragma once

#include <orv/utility/Url.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace orv {

/// The sources of the library's install prefix.
struct InstallationClues {
    /// `$ORV_PREFIX`; the others do not count beside it.
    std::optional<Url> prefix_told = {};
    /// The file with the library's code: the shared library, or the program it is linked into.
    Url code = {};
    /// Where the application's compiler found `<orv/utility/InstalledHeaders.hpp>`, or nothing.
    std::string header = {};
};

/// Returns the library's own file or folder at `in_prefix` below the prefix. If it does not exist,
/// returns the place where it should be.
///
/// The prefix comes from the environment, else it is the first of these with the item: the one
/// around the library or program, the one around the headers, /usr/local and /usr.
[[nodiscard]] Url installed_item(std::string_view in_prefix);

/// The same, from the clues given.
[[nodiscard]] Url installed_item(std::string_view in_prefix, const InstallationClues& clues);

} // namespace orv
