#pragma once

#include <orv/utility/Url.hpp>

#include <functional>
#include <string_view>
#include <vector>

namespace orv {

/// The work of `OrvFileBrowser::create_example_files`.
///
/// Threading: any.
void create_example_files(Url at, bool log_status, std::function<void()> completion);

/// As `OrvFileBrowser::missing_example_files`.
[[nodiscard]] std::vector<Url> missing_example_files(const Url& at);

/// Copies the resource `name`, a full file name, to `dest_url`, and waits for the end. Leaves an
/// existing item alone. Prints the outcome with `log_status`.
///
/// Threading: background. The call needs the main thread, so a call on it ends the process.
void bg_copy_resource(std::string_view name, const Url& dest_url, bool log_status);

} // namespace orv
