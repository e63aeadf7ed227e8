#pragma once

namespace orv {

/// Gives the item `from` of one open folder the name `to` in another, or in the same one, on the
/// same volume. What stands at the new name is never replaced.
///
/// Threading: any.
/// Errors: returns 0, or the errno: EEXIST when the name is taken, EXDEV when the folders lie on
/// different volumes.
[[nodiscard]] int rename_no_replace(int from_folder, const char* from, int to_folder,
                                    const char* to);

/// The same by other means, for file systems that have no such call.
[[nodiscard]] int rename_no_replace_by_claiming(int from_folder, const char* from, int to_folder,
                                                const char* to);

} // namespace orv
