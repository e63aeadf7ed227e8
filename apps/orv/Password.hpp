#pragma once

#include "CommandLine.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace orv::app {

/// The password of an archive: the first line of a file, or hidden input from the terminal. Nothing
/// if there is no password to use. `prompt` asks for it, such as "Password for a.zip"; one that
/// `is_new` is typed twice.
///
/// Threading: main thread.
/// Errors: an empty password, an unreadable file, no terminal, two different inputs; `Interrupted`.
[[nodiscard]] std::optional<std::string> password_from(const PasswordSource& source,
                                                       const std::string& prompt, bool is_new);

} // namespace orv::app
