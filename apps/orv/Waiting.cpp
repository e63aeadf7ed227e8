#include "Waiting.hpp"

#include "HumanText.hpp"
#include "PausingClock.hpp"
#include "Terminal.hpp"
#include "Text.hpp"

#include <orv/utility/MainQueue.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <string>
#include <utility>

#include <poll.h>
#include <unistd.h>

namespace orv::app {
namespace {

constexpr int tick_ms = 100;

/// Sleeps until there is something to do. True after awaited input.
bool wait_for_events(const Meanwhile& meanwhile)
{
    const bool is_asking = meanwhile.question && meanwhile.question->is_open();
    std::array<pollfd, 2> events{
        {{MainQueue::instance().fd(), POLLIN, 0}, {is_asking ? STDIN_FILENO : -1, POLLIN, 0}}};
    ::poll(events.data(), events.size(), meanwhile.tick ? tick_ms : -1);
    return events[1].revents != 0;
}

/// The activity and its time, within the terminal's columns.
std::string activity_line(std::string_view activity, std::chrono::seconds elapsed)
{
    const std::string time = " " + human_duration(elapsed);
    const std::size_t columns = terminal_columns();
    const std::size_t needed = time.size() + 1;
    return cut_to(columns - std::min(columns, needed), activity) + time;
}

} // namespace

Meanwhile show_activity(std::string_view activity, bool shown)
{
    return show_activity([activity = printable(activity)] { return activity; }, shown);
}

Meanwhile show_activity(std::function<std::string()> activity, bool shown)
{
    if (!shown)
        return {};
    PausingClock clock;
    const auto start = clock.now();
    const auto tick = [clock, start, activity = std::move(activity)]() mutable {
        const auto elapsed = clock.now() - start;
        if (elapsed > std::chrono::milliseconds(500))
            draw_line(activity_line(activity(), std::chrono::floor<std::chrono::seconds>(elapsed)));
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
        const bool is_asking = meanwhile.question && meanwhile.question->is_open();
        if (meanwhile.tick && !is_asking)
            meanwhile.tick();
    }
}

} // namespace orv::app
