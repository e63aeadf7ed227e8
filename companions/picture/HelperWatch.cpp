#include "picture/HelperWatch.hpp"

#include <orv/utility/Error.hpp>

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include <time.h>

namespace orv::picture {
namespace {

std::filesystem::path folder_of(pid_t process)
{
    return "/proc/" + std::to_string(process);
}

/// Of all threads, ended ones included; none when the process has ended.
std::chrono::nanoseconds processor_time_of(pid_t process)
{
    clockid_t clock{};
    timespec time{};
    if (::clock_getcpuclockid(process, &clock) != 0 || ::clock_gettime(clock, &time) != 0)
        return {};
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/// By calls and from disks: a mapped file needs no calls.
std::uint64_t bytes_read_by(pid_t process)
{
    std::ifstream counts(folder_of(process) / "io");
    std::uint64_t sum = 0;
    std::uint64_t bytes = 0;
    for (std::string key; counts >> key >> bytes;)
        if (key == "rchar:" || key == "read_bytes:")
            sum += bytes;
    return sum;
}

/// The state letter of a thread, behind its name in parentheses.
char state_in(const std::filesystem::path& thread)
{
    std::ifstream file(thread / "stat");
    std::string line;
    std::getline(file, line);
    const std::size_t name_end = line.rfind(") ");
    return name_end == std::string::npos ? '?' : line[name_end + 2];
}

/// True if a thread waits for a core (R) or for a disk (D).
bool waits_for_the_machine(pid_t process)
{
    std::error_code error;
    for (const auto& thread :
         std::filesystem::directory_iterator(folder_of(process) / "task", error)) {
        const char state = state_in(thread.path());
        if (state == 'R' || state == 'D')
            return true;
    }
    return false;
}

} // namespace

HelperWatch::HelperWatch(pid_t process, DecodingLimits limits)
    : process_(process), limits_(limits), began_at_(processor_time_of(process)),
      looked_at_(std::chrono::steady_clock::now())
{
}

HelperWatch::Count HelperWatch::count() const
{
    return {processor_time_of(process_), bytes_read_by(process_)};
}

void HelperWatch::look()
{
    const auto now = std::chrono::steady_clock::now();
    const Count current = count();
    if (current == last_ && !waits_for_the_machine(process_))
        stood_still_ += now - looked_at_;
    last_ = current;
    looked_at_ = now;
    if (current.processor_time - began_at_ > limits_.processor_time ||
        stood_still_ > limits_.standstill)
        throw Error("The file takes too long to decode.");
}

} // namespace orv::picture
