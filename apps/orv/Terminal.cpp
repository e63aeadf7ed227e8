#include "Terminal.hpp"

#include <atomic>
#include <cerrno>
#include <string>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace orv::app {
namespace {

std::atomic<bool> is_line_begun = false;
std::atomic<bool> is_drawing_over = false;

} // namespace

bool is_output_terminal()
{
    return ::isatty(STDOUT_FILENO) == 1 && ::isatty(STDERR_FILENO) == 1;
}

bool can_ask()
{
    return ::isatty(STDIN_FILENO) == 1 && ::isatty(STDERR_FILENO) == 1;
}

bool take_terminal_as_input()
{
    const int terminal = ::open("/dev/tty", O_RDONLY | O_CLOEXEC);
    if (terminal < 0)
        return false;
    ::dup2(terminal, STDIN_FILENO);
    ::close(terminal);
    return can_ask();
}

std::size_t terminal_columns()
{
    winsize size{};
    const bool is_known = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return is_known ? size.ws_col : 80;
}

void write_message(std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
        if (written < 0 && errno != EINTR)
            return;
        text.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
}

void draw_line(std::string_view text)
{
    if (is_drawing_over)
        return;
    is_line_begun = true;
    write_message(std::string("\r").append(text).append("\033[K"));
}

void erase_line()
{
    if (is_line_begun.exchange(false))
        write_message("\r\033[K");
}

void end_line()
{
    if (is_line_begun.exchange(false))
        write_message("\n");
}

void end_last_line()
{
    is_drawing_over = true;
    end_line();
}

} // namespace orv::app
