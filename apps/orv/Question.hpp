#pragma once

#include <orv/Operations/ConflictResolver.hpp>

#include <memory>
#include <string>

namespace orv::app {

/// The question on the terminal what to do about a taken name, and about all that follow where more
/// are expected. It never waits for the answer:
/// whoever drives the main queue calls `take_input()` when standard input is readable.
///
/// Threading: main thread.
class Question {
public:
    void ask(std::shared_ptr<ConflictResolver> resolver);

    [[nodiscard]] bool is_open() const { return resolver_ != nullptr; }

    /// Reads what was typed. An answer goes to the request, anything else is asked again; the end
    /// of the input means to stop.
    void take_input();

    /// Answers an open question with stop.
    void stop();

private:
    void show() const;
    void take_line(const std::string& line);
    void answer(ConflictBehaviour behaviour, bool for_all);

    std::shared_ptr<ConflictResolver> resolver_;
    std::string typed_;
};

} // namespace orv::app
