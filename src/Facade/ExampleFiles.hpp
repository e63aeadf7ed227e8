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

/// Copies the resource `name`, which is a full file name, so that it is found at `dest_url`, and
/// waits for the end. An existing item stays as it is. With `log_status` it prints how that went.
///
/// Threading: background; on the main thread, which it needs, the process ends.
void bg_copy_resource(std::string_view name, const Url& dest_url, bool log_status);

} // namespace orv
