#pragma once

#include <chrono>
#include <optional>

namespace orv {

/// True if requests pause on purpose, for tests to observe them at work.
///
/// Threading: any.
[[nodiscard]] bool intr_test_mode();
void set_intr_test_mode(bool on);

/// The pause after each chunk of a file's content in test mode. No value outside it.
[[nodiscard]] std::optional<std::chrono::milliseconds> chunk_pause_in_test_mode();

/// Sleeps for `duration` in test mode, else does nothing.
void pause_in_test_mode(std::chrono::milliseconds duration);

} // namespace orv
