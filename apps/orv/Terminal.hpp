#pragma once

#include <cstddef>
#include <string_view>

namespace orv::app {

/// Both outputs go to a terminal, so that there is somebody to show progress to.
[[nodiscard]] bool is_output_terminal();

/// A question can be shown and its answer typed.
[[nodiscard]] bool can_ask();

/// The width of the terminal.
[[nodiscard]] std::size_t terminal_columns();

/// Writes to standard error, at once. What cannot be written there is lost.
void write_message(std::string_view text);

/// Puts `text` on the terminal's current line in place of what is there.
void draw_line(std::string_view text);

/// Leaves nothing on the line that `draw_line` began.
void erase_line();

/// Goes on to the next line, if `draw_line` began one.
///
/// Threading: any.
void end_line();

} // namespace orv::app
