#pragma once

#include "utility/FileDescriptor.hpp"

#include <orv/utility/Url.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace orv {

/// The folder for files under construction, until requests move them into place:
/// "__orv_proc_files__" in the temporary folder.
///
/// An item in it belongs to the process with the lock (`flock`) on it. A file under construction
/// has a UUID as its name. A file built elsewhere has a note here, with a UUID and the extension
/// "note" as its name; see `Note`.
[[nodiscard]] const Url& processed_files_folder();

/// Creates the folder; true if it is there.
bool create_processed_files_folder();

/// Opens the folder, and creates it if someone removed it since the start of the library.
///
/// Errors: the platform's.
[[nodiscard]] FileDescriptor made_processed_files_folder();

/// Creates the file `name` in an open folder, by default for its owner alone, and takes the lock:
/// the file is this process's own for as long as the descriptor is open.
///
/// Errors: the platform's, at `url`; EEXIST if the name is taken.
FileDescriptor create_owned_file(int folder, const std::string& name, const Url& url,
                                 mode_t mode = 0600);

/// Takes the lock of an item in the open folder whose owner no longer lives. No descriptor if it
/// lives, or nothing can be said.
[[nodiscard]] FileDescriptor lock_of_dead(int folder, const std::string& name);

/// True if the item is there and may belong to a living process.
///
/// Errors: the platform's, when there is no folder.
[[nodiscard]] bool is_owned_by_living(const std::string& name);

/// A new file without a name on the volume of the processed-files folder; it ends with its
/// descriptor.
///
/// Errors: the platform's.
[[nodiscard]] FileDescriptor create_nameless_file();

/// The name of a hidden item no copy takes, and of the note that announces it.
[[nodiscard]] std::string hidden_name(const std::string& uuid);
[[nodiscard]] std::string note_name(const std::string& uuid);

/// True for the name of a hidden item, of this process or another.
[[nodiscard]] bool is_hidden_name(std::string_view name);

/// The UUID in the name of a note. No value for any other name.
[[nodiscard]] std::optional<std::string> uuid_of_note(std::string_view name);

} // namespace orv
