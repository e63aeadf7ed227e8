#include "Waiting.hpp"

#include "HumanText.hpp"
#include "Terminal.hpp"

#include <orv/utility/MainQueue.hpp>

#include <array>
#include <chrono>
#include <string>

#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

namespace orv::app {
namespace {

constexpr int tick_ms = 100;

/// Sleeps until there is something to do. True when something was typed that is waited for.
bool wait_for_events(const Meanwhile& meanwhile)
{
    const bool is_asking = meanwhile.question && meanwhile.question->is_open();
    std::array<pollfd, 2> events{
        {{MainQueue::instance().fd(), POLLIN, 0}, {is_asking ? STDIN_FILENO : -1, POLLIN, 0}}};
    ::poll(events.data(), events.size(), meanwhile.tick ? tick_ms : -1);
    return events[1].revents != 0;
}

} // namespace

Meanwhile show_activity(std::string_view activity, bool shown)
{
    if (!shown)
        return {};
    const auto start = std::chrono::steady_clock::now();
    const auto tick = [start, activity = std::string(activity)] {
        const auto elapsed = std::chrono::steady_clock::now() - start;
        if (elapsed > std::chrono::milliseconds(500))
            draw_line(
                fmt::format("{} {}", activity,
                            human_duration(std::chrono::floor<std::chrono::seconds>(elapsed))));
    };
    return {.tick = tick};
}

void drive_until(const std::function<bool()>& done, const Meanwhile& meanwhile)
{
    while (!done()) {
        const bool has_input = wait_for_events(meanwhile);
        MainQueue::instance().drain();
        if (has_input && meanwhile.question->is_open())
            meanwhile.question->take_input();
        if (meanwhile.tick)
            meanwhile.tick();
    }
}

} // namespace orv::app
