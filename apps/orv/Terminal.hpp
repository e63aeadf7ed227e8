#pragma once

#include <cstddef>
#include <string_view>

namespace orv::app {

/// Both outputs go to a terminal, so that there is somebody to show progress to.
[[nodiscard]] bool is_output_terminal();

/// A question can be shown and its answer typed.
[[nodiscard]] bool can_ask();

/// Puts the terminal of this process in the place of a standard input that was read to its end.
/// Says whether questions can be asked now.
[[nodiscard]] bool take_terminal_as_input();

/// The width of the terminal.
[[nodiscard]] std::size_t terminal_columns();

/// Writes to standard error, at once. What cannot be written there is lost.
void write_message(std::string_view text);

/// Puts `text` on the terminal's current line in place of what is there.
void draw_line(std::string_view text);

/// Leaves nothing on the line that `draw_line` began.
void erase_line();

/// Goes on to the next line, if `draw_line` began one.
void end_line();

/// The same for the last time: nothing is drawn any more. Waits for no other thread, which may be
/// held up by the terminal.
///
/// Threading: any.
void end_last_line();

} // namespace orv::app
