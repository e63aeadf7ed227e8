#pragma once

namespace orv {

/// Renames the file `from` of one open folder over the file `to` in another, or in the same one: a
/// file takes the place of a file in one step.
///
/// Errors: returns 0 or the errno. SFTP servers refuse a taken name. EOPNOTSUPP on a volume that
/// states no links for its files: a mounted archive would go on to show the old file.
[[nodiscard]] int rename_over(int from_folder, const char* from, int to_folder, const char* to);

} // namespace orv
