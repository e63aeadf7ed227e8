#pragma once

#include "CommandLine.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace orv::app {

/// The password of an archive: the first line of a file, or what is typed on the terminal, where it
/// is not shown. Nothing when no password is to be used. `prompt` asks for it, such as "Password
/// for a.zip"; one that `is_new` is typed twice.
///
/// Threading: main thread.
/// Errors: an empty password, a file that can't be read, no terminal, two that differ;
/// `Interrupted`.
[[nodiscard]] std::optional<std::string> password_from(const PasswordSource& source,
                                                       const std::string& prompt, bool is_new);

} // namespace orv::app
