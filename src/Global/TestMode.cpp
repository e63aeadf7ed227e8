#include "Global/TestMode.hpp"

#include <atomic>
#include <thread>

namespace orv {
namespace {

std::atomic<bool> test_mode = false;

} // namespace

bool intr_test_mode()
{
    return test_mode;
}

void set_intr_test_mode(bool on)
{
    test_mode = on;
}

std::optional<std::chrono::milliseconds> chunk_pause_in_test_mode()
{
    constexpr std::chrono::milliseconds pause(500);
    return test_mode ? std::optional(pause) : std::nullopt;
}

void pause_in_test_mode(std::chrono::milliseconds duration)
{
    if (test_mode)
        std::this_thread::sleep_for(duration);
}

} // namespace orv
