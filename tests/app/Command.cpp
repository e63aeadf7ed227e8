#include "app/Command.hpp"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orv::test {
namespace {

/// What a child process has instead of its parent's descriptors and folder.
class FileActions {
public:
    FileActions() { ::posix_spawn_file_actions_init(&actions); }
    ~FileActions() { ::posix_spawn_file_actions_destroy(&actions); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;

    void open(int descriptor, const std::string& path, int flags)
    {
        ::posix_spawn_file_actions_addopen(&actions, descriptor, path.c_str(), flags, 0600);
    }

    posix_spawn_file_actions_t actions{};
};

} // namespace

CommandTest::CommandTest()
{
    std::filesystem::create_directory(work());
    std::filesystem::create_directory(home());
}

Words CommandTest::command(const Words& arguments) const
{
    Words words{ORV_COMMAND, "--home", home().path()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

pid_t CommandTest::start(const Words& arguments)
{
    return start(arguments, (scratch_ / ("out" + std::to_string(starts_))).path());
}

pid_t CommandTest::start(const Words& arguments, const std::string& out)
{
    FileActions files;
    files.open(STDIN_FILENO, input_, O_RDONLY);
    files.open(STDOUT_FILENO, out, O_WRONLY | O_CREAT | O_TRUNC);
    files.open(STDERR_FILENO, (scratch_ / ("err" + std::to_string(starts_))).path(),
               O_WRONLY | O_CREAT | O_TRUNC);
    ::posix_spawn_file_actions_addchdir_np(&files.actions, work().path().c_str());
    const Words words = command(arguments);
    pid_t process = 0;
    if (::posix_spawn(&process, ORV_COMMAND, &files.actions, nullptr, pointers(words).data(),
                      environ) != 0)
        throw std::runtime_error("the command could not be started");
    started_.emplace_back(process, starts_++);
    return process;
}

Outcome CommandTest::finish(pid_t process)
{
    const int exit_code = exit_code_of(process);
    return {exit_code, read_file(output(process, "out")), read_file(output(process, "err"))};
}

void CommandTest::check(const ChangeCase& row)
{
    SCOPED_TRACE(testing::PrintToString(row.arguments));
    std::filesystem::remove_all(work());
    make_tree(work(), row.before);
    const Outcome outcome = orv(row.arguments);
    EXPECT_EQ(outcome.exit_code, row.exit_code);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, told(row.err));
    EXPECT_EQ(tree(work()), row.after);
    EXPECT_EQ(temporaries(), Words{});
}

Url CommandTest::output(pid_t process, const char* kind) const
{
    const auto found = std::find_if(started_.rbegin(), started_.rend(),
                                    [&](const auto& start) { return start.first == process; });
    return scratch_ / (kind + std::to_string(found->second));
}

std::string CommandTest::told(std::string text) const
{
    for (std::size_t at = 0; (at = text.find("$W", at)) != std::string::npos;)
        text.replace(at, 2, work().path());
    return text;
}

Words CommandTest::temporaries() const
{
    return tree(home().appending(".cache/orv/tmp/__orv_proc_files__"));
}

Url CommandTest::database() const
{
    return home().appending(".local/share/orv/orv_file_manager_db.sqlite");
}

int exit_code_of(pid_t process)
{
    int status = 0;
    ::waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

std::vector<char*> pointers(const Words& words)
{
    std::vector<char*> list;
    for (const std::string& word : words)
        list.push_back(const_cast<char*>(word.c_str()));
    list.push_back(nullptr);
    return list;
}

} // namespace orv::test
