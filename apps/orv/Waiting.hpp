#pragma once

#include "Interrupt.hpp"
#include "Question.hpp"
#include "Terminal.hpp"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace orv::app {

/// What goes on beside a request that is under way.
struct Meanwhile {
    std::function<void()> tick = {}; ///< called about ten times a second, save during a question
    Question* question = nullptr;    ///< gets what is typed while it is open
};

/// Shows that `activity` takes its time, such as "Measuring", when it does and `shown` allows it.
[[nodiscard]] Meanwhile show_activity(std::string_view activity, bool shown);

/// The same with an activity that is asked for each time.
[[nodiscard]] Meanwhile show_activity(std::function<std::string()> activity, bool shown);

/// Drives the main queue until `done`.
void drive_until(const std::function<bool()>& done, const Meanwhile& meanwhile);

/// Makes a request, drives the main queue until it has ended, and returns its final status. `start`
/// is given the status closure and returns the operation. Ctrl-C cancels it, after it has answered
/// an open question with stop.
template <class Operation, class Start>
typename Operation::Status final_status(const Start& start, const Meanwhile& meanwhile = {})
{
    using Status = typename Operation::Status;
    std::optional<Status> last;
    const auto operation = start([&](Status status) { last = std::move(status); });
    const Stoppable stoppable([&] {
        if (meanwhile.question)
            meanwhile.question->stop();
        operation->cancel();
    });
    drive_until([&] { return !operation->is_busy(); }, meanwhile);
    erase_line();
    return std::move(*last);
}

} // namespace orv::app
