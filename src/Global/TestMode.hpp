#pragma once

#include <chrono>

namespace orv {

/// Whether requests insert pauses, so that tests can observe them at work.
///
/// Threading: any.
[[nodiscard]] bool intr_test_mode();
void set_intr_test_mode(bool on);

/// Sleeps for `duration` in test mode, else does nothing.
void pause_in_test_mode(std::chrono::milliseconds duration);

} // namespace orv
