#pragma once

#include "Interrupt.hpp"
#include "Question.hpp"
#include "Terminal.hpp"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace orv::app {

/// The activities beside a request.
struct Meanwhile {
    std::function<void()> tick = {}; ///< called about ten times a second, save during a question
    Question* question = nullptr;    ///< receives the typed input while it is open
};

/// Shows `activity`, such as "Measuring", once it takes its time, if `shown` allows it.
[[nodiscard]] Meanwhile show_activity(std::string_view activity, bool shown);

/// The same with a question for the activity each time.
[[nodiscard]] Meanwhile show_activity(std::function<std::string()> activity, bool shown);

/// Drives the main queue until `done`.
void drive_until(const std::function<bool()>& done, const Meanwhile& meanwhile);

/// Makes a request, drives the main queue until it has ended, and returns its final status. `start`
/// takes the status closure and returns the operation. Ctrl-C cancels it, and answers an open
/// question with stop first.
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
