#pragma once

#include <functional>
#include <string_view>

namespace orv {

/// Called with the text of a fatal error, on the thread that met it, after the text was written and
/// before the process is aborted. It may end the process in its own way.
using FatalHandler = std::function<void(std::string_view text)>;

/// Sets what `fatal` calls; an empty handler calls nothing.
///
/// Threading: to be set before the library is first used.
void set_fatal_handler(FatalHandler handler);

/// Ends the process over a condition that cannot happen in a working application: writes one line
/// to standard error, calls the handler, and aborts.
[[noreturn]] void fatal(std::string_view text) noexcept;

} // namespace orv
