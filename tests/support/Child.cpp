#include "support/Child.hpp"

#include <stdexcept>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orv::test {

Child::Child(const std::vector<std::string>& arguments)
{
    int ends[2] = {};
    if (::pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe could be made");
    output_ = FileDescriptor(ends[0]);
    const FileDescriptor input(ends[1]);

    std::vector<std::string> texts = arguments;
    std::vector<char*> pointers;
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, input.get(), STDOUT_FILENO);
    const int error = ::posix_spawn(&id_, pointers[0], &actions, nullptr, pointers.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw std::runtime_error("the program " + arguments[0] + " could not be started");
}

Child::~Child()
{
    kill();
}

std::string Child::read_line()
{
    std::string line;
    for (char c = 0; ::read(output_.get(), &c, 1) == 1 && c != '\n';)
        line += c;
    return line;
}

std::string Child::read_all()
{
    std::string text;
    for (char c = 0; ::read(output_.get(), &c, 1) == 1;)
        text += c;
    return text;
}

void Child::kill()
{
    if (id_ < 0)
        return;
    ::kill(id_, SIGKILL);
    ::waitpid(id_, nullptr, 0);
    id_ = -1;
}

} // namespace orv::test
