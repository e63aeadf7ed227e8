#pragma once

#include <cstddef>
#include <string_view>

namespace orv::app {

/// Both outputs are terminals, with somebody to see progress.
[[nodiscard]] bool is_output_terminal();

/// A question can be shown and its answer typed.
[[nodiscard]] bool can_ask();

/// Replaces a standard input read to its end with the terminal of this process. True if questions
/// can be asked now.
[[nodiscard]] bool take_terminal_as_input();

/// The width of the terminal.
[[nodiscard]] std::size_t terminal_columns();

/// Writes to standard error, at once. Drops the text if the write fails.
void write_message(std::string_view text);

/// Replaces the terminal's current line with `text`.
void draw_line(std::string_view text);

/// Clears the line of `draw_line`.
void erase_line();

/// Goes on to the next line, if `draw_line` began one.
void end_line();

/// The same for the last time: nothing is drawn from now on. Waits for no other thread, because the
/// terminal may hold one up.
///
/// Threading: any.
void end_last_line();

} // namespace orv::app
