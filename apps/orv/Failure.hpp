#pragma once

#include <orv/utility/Error.hpp>
#include <orv/utility/Url.hpp>

namespace orv::app {

/// The command failed and has said why.
struct ToldFailure {};

/// Ctrl-C ended the request.
struct Interrupted {};

/// The request failed and has said why.
struct Failed {};

/// The same error; where it tells no path, it gets `path`.
[[nodiscard]] Error told_of(const Url& path, const Error& error);

/// Writes "orv: sentence: path: reason" to standard error, in one line. The reason is the
/// platform's, where it gave one.
void print_failure(const Error& error);

} // namespace orv::app
