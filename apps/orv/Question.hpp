#pragma once

#include <functional>
#include <string>

namespace orv::app {

/// A question on the terminal. It never waits for the answer: whoever drives the main queue calls
/// `take_input()` when standard input is readable.
///
/// Threading: main thread.
class Question {
public:
    /// Shows `text`. Each typed line goes to `take_line`; it returns true for an answer, and
    /// anything else is asked again. `stop` answers in the place of a person.
    void ask(std::string text, std::function<bool(const std::string& line)> take_line,
             std::function<void()> stop);

    [[nodiscard]] bool is_open() const { return static_cast<bool>(stop_); }

    /// Reads the typed input. The end of the input means to stop.
    void take_input();

    /// Answers an open question with stop.
    void stop();

private:
    void show() const;
    void take_line(const std::string& line);

    std::string text_;
    std::function<bool(const std::string& line)> take_line_;
    std::function<void()> stop_;
    std::string typed_;
};

/// The answer in a line of words: its first letter, in lower case; 0 for an empty line.
struct TypedAnswer {
    char letter;
    bool for_all; ///< its last word is "all"
};

[[nodiscard]] TypedAnswer typed_answer(const std::string& line);

} // namespace orv::app
