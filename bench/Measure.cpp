#include "Measure.hpp"

#include "utility/FileDescriptor.hpp"
#include "utility/StopWatch.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <exception>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orv::bench {
namespace {

/// Sends a child's standard output to where nothing is kept.
class NoOutput {
public:
    NoOutput()
    {
        ::posix_spawn_file_actions_init(&actions_);
        ::posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    }
    ~NoOutput() { ::posix_spawn_file_actions_destroy(&actions_); }
    NoOutput(const NoOutput&) = delete;
    NoOutput& operator=(const NoOutput&) = delete;

    [[nodiscard]] const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    posix_spawn_file_actions_t actions_;
};

std::string text_of(const std::vector<std::string>& command)
{
    std::string text;
    for (const std::string& word : command)
        text.append(text.empty() ? "" : " ").append(word);
    return text;
}

pid_t start(std::vector<std::string> command)
{
    std::vector<char*> arguments;
    for (std::string& word : command)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const NoOutput output;
    pid_t child = 0;
    const int error =
        ::posix_spawnp(&child, arguments[0], output.get(), nullptr, arguments.data(), environ);
    if (error != 0)
        throw platform_error(error, Url(command.front()));
    return child;
}

double seconds_of(const timeval& time)
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

/// Waits for `child` and returns what it and its own children used; the time is left out.
Usage wait_for(pid_t child, const std::string& what)
{
    int status = 0;
    rusage usage = {};
    while (::wait4(child, &status, 0, &usage) < 0)
        if (errno != EINTR)
            throw Error("Couldn't wait for \"" + what + "\".");
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw Error("\"" + what + "\" failed.");
    return {0, seconds_of(usage.ru_utime) + seconds_of(usage.ru_stime),
            std::int64_t{1024} * usage.ru_maxrss};
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const std::size_t half = values.size() / 2;
    return values.size() % 2 != 0 ? values[half] : (values[half - 1] + values[half]) / 2;
}

[[noreturn]] void be_child(int result_pipe, FunctionRef<double()> work)
{
    try {
        const double seconds = work();
        const bool told = ::write(result_pipe, &seconds, sizeof seconds) == sizeof seconds;
        ::_exit(told ? 0 : 1);
    } catch (const Error& error) {
        std::fprintf(stderr, "%s\n", error.message().c_str());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    ::_exit(1);
}

} // namespace

Usage run_program(const std::vector<std::string>& command)
{
    const StopWatch watch;
    const pid_t child = start(command);
    Usage usage = wait_for(child, text_of(command));
    usage.seconds = watch.elapsed_time();
    return usage;
}

Usage run_in_child(FunctionRef<double()> work)
{
    int ends[2] = {};
    if (::pipe2(ends, O_CLOEXEC) != 0)
        throw Error("Couldn't make a pipe.");
    const FileDescriptor reading(ends[0]);
    FileDescriptor writing(ends[1]);
    const pid_t child = ::fork();
    if (child < 0)
        throw Error("Couldn't start a child.");
    if (child == 0)
        be_child(writing.get(), work);
    writing.reset();
    Usage usage = wait_for(child, "The measured child");
    if (::read(reading.get(), &usage.seconds, sizeof usage.seconds) != sizeof usage.seconds)
        throw Error("The measured child told no time.");
    return usage;
}

Summary summary(const std::vector<Usage>& runs)
{
    std::vector<double> seconds;
    std::vector<double> cpu_seconds;
    Summary result;
    for (const Usage& run : runs) {
        seconds.push_back(run.seconds);
        cpu_seconds.push_back(run.cpu_seconds);
        result.peak_bytes = std::max(result.peak_bytes, run.peak_bytes);
    }
    const auto [min, max] = std::minmax_element(seconds.begin(), seconds.end());
    result.min = *min;
    result.max = *max;
    result.median = median(seconds);
    result.median_cpu = median(cpu_seconds);
    return result;
}

} // namespace orv::bench
