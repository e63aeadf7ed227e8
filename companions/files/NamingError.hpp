#pragma once

#include <orv/utility/Error.hpp>
#include <orv/utility/Url.hpp>

#include <string>

namespace orv {

/// The error for an item that did not get the name `name` in the open folder, with the errno
/// `code`: a sentence if the volume cannot hold an item of that name, otherwise the platform's.
/// Both show `url`.
[[nodiscard]] Error naming_error(int code, int folder, const std::string& name, const Url& url);

/// True if that error is about the name itself.
[[nodiscard]] bool is_name_refused(int code, int folder, const std::string& name);

} // namespace orv
