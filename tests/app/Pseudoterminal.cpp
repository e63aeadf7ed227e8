#include "app/Pseudoterminal.hpp"

#include <array>

#include <poll.h>
#include <pty.h>
#include <unistd.h>

namespace orv::test {

Pseudoterminal::Pseudoterminal(const Words& command, const Url& folder)
{
    const std::vector<char*> arguments = pointers(command);
    const winsize size{24, 80, 0, 0};
    int terminal = -1;
    process_ = ::forkpty(&terminal, nullptr, nullptr, &size);
    if (process_ == 0) {
        if (::chdir(folder.path().c_str()) == 0)
            ::execv(arguments[0], arguments.data());
        ::_exit(99);
    }
    terminal_ = FileDescriptor(terminal);
}

void Pseudoterminal::wait_for(std::string_view text)
{
    std::size_t found = 0;
    while ((found = shown_.find(text, waited_for_)) == std::string::npos)
        ASSERT_TRUE(read_more()) << "\"" << text << "\" was never shown, but:\n" << shown_;
    waited_for_ = found + text.size();
}

void Pseudoterminal::type(std::string_view keys) const
{
    ASSERT_EQ(::write(terminal_.get(), keys.data(), keys.size()),
              static_cast<ssize_t>(keys.size()));
}

int Pseudoterminal::finish()
{
    while (read_more()) {
    }
    return exit_code_of(process_);
}

bool Pseudoterminal::read_more()
{
    pollfd event{terminal_.get(), POLLIN, 0};
    if (::poll(&event, 1, 30'000) != 1)
        return false;
    std::array<char, 4096> bytes{};
    const ssize_t length = ::read(terminal_.get(), bytes.data(), bytes.size());
    if (length <= 0)
        return false;
    shown_.append(bytes.data(), static_cast<std::size_t>(length));
    return true;
}

} // namespace orv::test
