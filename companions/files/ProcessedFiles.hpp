#pragma once

#include "utility/FileDescriptor.hpp"

#include <orv/utility/Url.hpp>

#include <string>

namespace orv {

/// The folder in which requests build files before they move them into place: "__orv_proc_files__"
/// in the temporary folder.
///
/// An item in it belongs to the process that holds the lock (`flock`) on it. A file under
/// construction has a UUID as its name. A file that is built elsewhere has a note here, with a UUID
/// and the extension "note" as its name; see `Note`.
[[nodiscard]] const Url& processed_files_folder();

/// Creates the folder and says whether it stands.
bool create_processed_files_folder();

/// Opens the folder, and creates it if it was cleaned away since the library was started.
///
/// Errors: the platform's.
[[nodiscard]] FileDescriptor made_processed_files_folder();

/// Settles what dead processes left in the folder and what their notes announce: unfinished items
/// go, items set aside get their names back or go if their replacements are there. What cannot be
/// settled stays for the next time, as does what is announced on a volume that is away.
void remove_leftovers();

/// Creates the file `name` in an open folder, by default for its owner alone, and takes the lock
/// that marks it as owned by this process for as long as the descriptor is open.
///
/// Errors: the platform's, at `url`; EEXIST when the name is taken.
FileDescriptor create_owned_file(int folder, const std::string& name, const Url& url,
                                 mode_t mode = 0600);

/// A new file on the volume of the processed-files folder that has no name and ends with its
/// descriptor.
///
/// Errors: the platform's.
[[nodiscard]] FileDescriptor create_nameless_file();

/// The name of a hidden item that a copy leaves out, and of the note that announces it.
[[nodiscard]] std::string hidden_name(const std::string& uuid);
[[nodiscard]] std::string note_name(const std::string& uuid);

} // namespace orv
