#pragma once

#include <functional>
#include <string_view>

namespace orv {

/// Receives the text of a fatal error, on the thread of the error, between the output of the text
/// and the abort. It may end the process in its own way.
using FatalHandler = std::function<void(std::string_view text)>;

/// Sets the handler `fatal` calls; an empty handler does nothing.
///
/// Threading: call it before the first use of the library.
void set_fatal_handler(FatalHandler handler);

/// Ends the process over a condition no working application meets: writes one line to standard
/// error, calls the handler, and aborts.
[[noreturn]] void fatal(std::string_view text) noexcept;

} // namespace orv
