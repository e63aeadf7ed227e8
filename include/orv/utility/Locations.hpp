#pragma once

#include <orv/utility/InstalledHeaders.hpp>
#include <orv/utility/Url.hpp>

#include <optional>
#include <string>

namespace orv {

/// The places the library uses. A place left out gets its default.
struct Locations {
    /// The application's name in the folders below. Default: the program's name.
    std::string app_id = {};
    /// Attribute keys are paths relative to it. Default: `$HOME`, else the user database's entry.
    /// Its symbolic links are resolved once.
    std::optional<Url> home_dir = {};
    /// Default: the XDG documents folder, else "Documents" in the home folder.
    std::optional<Url> docs_dir = {};
    /// Holds the database. Default: `$XDG_DATA_HOME/<app_id>`, else ".local/share/<app_id>" in the
    /// home folder.
    std::optional<Url> app_support_dir = {};
    /// Holds unfinished files. Default: `$XDG_CACHE_HOME/<app_id>/tmp`, else ".cache/<app_id>/tmp"
    /// in the home folder, nearly always on the volume of the documents.
    std::optional<Url> temp_dir = {};
    /// Holds the library's resources. Default: "share/orv" in the prefix of the installation,
    /// `$ORV_PREFIX` if set. Otherwise the place of the shared library, the program or the headers
    /// of the program's build tells the prefix.
    std::optional<Url> resource_dir = {};
    /// Holds the programs that decode pictures and films for thumbnails. Default: "libexec/orv" in
    /// the same prefix.
    std::optional<Url> helper_dir = {};
    /// The home trash, shared by the user's programs. Default: `$XDG_DATA_HOME/Trash`, else
    /// ".local/share/Trash" in the home folder.
    std::optional<Url> trash_dir = {};
    /// The trash requests list and empty the volumes mounted at or below this folder. Default: "/".
    std::optional<Url> volumes_dir = {};
};

/// Sets the locations; a place `locations` leaves out gets its default.
///
/// Threading: call it before the first use of the library. A later call ends the process.
void configure_locations(Locations locations);

/// The locations in force; reading one settles them all.
///
/// Threading: any.
[[nodiscard]] const Url& home_dir();
[[nodiscard]] const Url& docs_dir();
[[nodiscard]] const Url& app_support_dir();
[[nodiscard]] const Url& temp_dir();
[[nodiscard]] const Url& resource_dir();
[[nodiscard]] const Url& helper_dir();
[[nodiscard]] const Url& trash_dir();
[[nodiscard]] const Url& volumes_dir();

} // namespace orv
