#include "Password.hpp"

#include "Failure.hpp"
#include "Interrupt.hpp"

#include <orv/orv.hpp>

#include <algorithm>
#include <array>
#include <cerrno>

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace orv::app {
namespace {

constexpr std::size_t longest_password = 64 * 1024;

/// An open file, closed at the end.
class Input {
public:
    Input(const std::string& path, int flags) : fd_(::open(path.c_str(), flags | O_CLOEXEC)) {}
    ~Input()
    {
        if (is_open())
            ::close(fd_);
    }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    [[nodiscard]] bool is_open() const { return fd_ >= 0; }
    [[nodiscard]] int fd() const { return fd_; }

private:
    int fd_;
};

Error unreadable(const Url& file)
{
    return Error("Couldn't read the password.").because_of(platform_error(errno, Url())).at(file);
}

/// Reads lines while Ctrl-C waits for its turn: hidden input must be visible again before the
/// process ends.
class LineReader {
public:
    /// The first line of `input`, the open `file`, without its end.
    ///
    /// Errors: the platform's; `Interrupted`.
    std::string first_line(int input, const Url& file) const;

private:
    void wait_for(int input) const;

    bool is_stopped_ = false;
    Stoppable stoppable_{[this] { is_stopped_ = true; }};
};

void LineReader::wait_for(int input) const
{
    std::array<pollfd, 2> events{{{MainQueue::instance().fd(), POLLIN, 0}, {input, POLLIN, 0}}};
    while (events[1].revents == 0) {
        ::poll(events.data(), events.size(), -1);
        MainQueue::instance().drain();
        if (is_stopped_)
            throw Interrupted();
    }
}

std::string LineReader::first_line(int input, const Url& file) const
{
    std::string line;
    std::array<char, 4096> block{};
    while (line.find('\n') == std::string::npos && line.size() <= longest_password) {
        wait_for(input);
        const ssize_t length = ::read(input, block.data(), block.size());
        if (length < 0 && (errno == EINTR || errno == EAGAIN))
            continue;
        if (length < 0)
            throw unreadable(file);
        if (length == 0)
            break;
        line.append(block.data(), static_cast<std::size_t>(length));
    }
    line.resize(std::min(line.find('\n'), line.size()));
    if (line.ends_with('\r'))
        line.pop_back();
    return line;
}

std::string checked(std::string password)
{
    if (password.empty())
        throw Error("The password is empty.");
    if (password.size() > longest_password)
        throw Error("The password is too long.");
    return password;
}

std::string password_in(const std::string& path)
{
    const Url file(path);
    const Input input(path, O_RDONLY);
    if (!input.is_open())
        throw unreadable(file);
    return checked(LineReader().first_line(input.fd(), file));
}

/// During its lifetime the terminal hides the typed text, except the end of the line. The keys that
/// stop or end the process at once would leave the terminal like that.
class HiddenTyping {
public:
    explicit HiddenTyping(int terminal) : terminal_(terminal)
    {
        ::tcgetattr(terminal_, &before_);
        termios hidden = before_;
        hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        hidden.c_lflag |= ICANON | ECHONL;
        hidden.c_cc[VSUSP] = _POSIX_VDISABLE;
        hidden.c_cc[VQUIT] = _POSIX_VDISABLE;
        ::tcsetattr(terminal_, TCSAFLUSH, &hidden);
    }
    ~HiddenTyping() { ::tcsetattr(terminal_, TCSAFLUSH, &before_); }
    HiddenTyping(const HiddenTyping&) = delete;
    HiddenTyping& operator=(const HiddenTyping&) = delete;

private:
    int terminal_;
    termios before_{};
};

std::string typed(const LineReader& reader, int terminal, const std::string& prompt)
{
    const HiddenTyping hidden(terminal);
    const std::string question = prompt + ": ";
    if (::write(terminal, question.data(), question.size()) < 0)
        throw unreadable(Url("/dev/tty"));
    return reader.first_line(terminal, Url("/dev/tty"));
}

std::string asked_password(const std::string& prompt, bool is_new)
{
    const Input terminal("/dev/tty", O_RDWR | O_NOCTTY);
    if (!terminal.is_open())
        throw Error("There is no terminal to ask for the password on; --password-file reads it "
                    "from a file.");
    const LineReader reader;
    std::string password = checked(typed(reader, terminal.fd(), prompt));
    if (is_new && typed(reader, terminal.fd(), "Once more") != password)
        throw Error("The two passwords differ.");
    return password;
}

} // namespace

std::optional<std::string> password_from(const PasswordSource& source, const std::string& prompt,
                                         bool is_new)
{
    if (source.file)
        return password_in(*source.file);
    if (source.is_asked)
        return asked_password(prompt, is_new);
    return std::nullopt;
}

} // namespace orv::app
