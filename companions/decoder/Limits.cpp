#include "decoder/Limits.hpp"

#include "decoder/Landlock.hpp"
#include "decoder/SystemCallFilter.hpp"
#include "picture/DecoderProtocol.hpp"

#include <algorithm>
#include <fstream>

#include <fcntl.h>
#include <malloc.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

namespace orv::decoder {
namespace {

void limit(int resource, rlim_t most)
{
    rlimit limits{};
    ::getrlimit(static_cast<__rlimit_resource>(resource), &limits);
    if (most < limits.rlim_max) {
        limits = {most, most};
        ::setrlimit(static_cast<__rlimit_resource>(resource), &limits);
    }
}

void reset_signals()
{
    // A write to a file fails without a signal, and the program goes on.
    ::signal(SIGXFSZ, SIG_IGN);
    ::signal(SIGPIPE, SIG_IGN);
    ::signal(SIGXCPU, SIG_DFL);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// The kernel kills this process when the application closes its end of the pipe. No file can keep
/// this program so busy, or so idle, that it outlives the application.
void end_with_application()
{
    constexpr int pipe = picture::decoder_lifeline;
    ::fcntl(pipe, F_SETOWN, ::getpid());
    ::fcntl(pipe, F_SETSIG, SIGKILL);
    ::fcntl(pipe, F_SETFL, O_RDONLY | O_ASYNC);
    // The kernel reports nothing of the time before.
    pollfd end{pipe, POLLIN, 0};
    if (::poll(&end, 1, 0) != 0)
        ::_exit(0);
}

/// Stacks and heaps of ended threads count as memory of the next file, so there are few and small
/// ones. No library here asks for a larger stack than libvips.
void spare_memory_of_threads()
{
    constexpr std::size_t stack_size = std::size_t{2} << 20;
    pthread_attr_t attributes;
    ::pthread_attr_init(&attributes);
    ::pthread_attr_setstacksize(&attributes, stack_size);
    ::pthread_setattr_default_np(&attributes);
    ::pthread_attr_destroy(&attributes);
    ::mallopt(M_ARENA_MAX, 2);
}

/// The process's own memory before it reads a file.
std::uint64_t own_data = 0;

/// The private data of this process, stacks included.
std::uint64_t data_of_process()
{
    std::ifstream counts("/proc/self/statm");
    std::uint64_t pages = 0;
    for (int place = 0; place < 6; ++place)
        counts >> pages;
    return pages * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

void set_data_limit(rlim_t most)
{
    rlimit limits{};
    ::getrlimit(RLIMIT_DATA, &limits);
    limits.rlim_cur = std::min(most, limits.rlim_max);
    ::setrlimit(RLIMIT_DATA, &limits);
}

} // namespace

void limit_process()
{
    constexpr rlim_t gibibyte = rlim_t{1} << 30;
    constexpr rlim_t most_files = 1024;
    reset_signals();
    end_with_application();
    limit(RLIMIT_AS, 3 * gibibyte);
    limit(RLIMIT_FSIZE, 0);
    limit(RLIMIT_NOFILE, most_files);
    limit(RLIMIT_CORE, 0);
    // A working folder would keep its volume from unmounting.
    static_cast<void>(::chdir("/") == 0);
    spare_memory_of_threads();
    // Before there are threads; libvips keeps its threads.
    forbid_all_but_reading();
}

void confine_process()
{
    own_data = data_of_process();
    forbid_files_by_name();
    allow_system_calls_of_decoding();
}

void allow_time_for_a_file()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto used = static_cast<rlim_t>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec);
    // A little above the application's own limit, to let the application report the cause.
    constexpr rlim_t spare = 3;
    rlimit limits{};
    ::getrlimit(RLIMIT_CPU, &limits);
    limits.rlim_cur = used + rlim_t{picture::longest_processor_seconds} + spare;
    if (limits.rlim_cur <= limits.rlim_max)
        ::setrlimit(RLIMIT_CPU, &limits);
}

FileMemory::FileMemory(std::uint64_t most) : most_(most)
{
    set_data_limit(own_data + most);
}

FileMemory::~FileMemory()
{
    set_data_limit(RLIM_INFINITY);
    // The program takes small blocks again at once. To give them back would cost more.
    constexpr std::uint64_t small = std::uint64_t{128} << 20;
    if (most_ > small)
        ::malloc_trim(0);
}

} // namespace orv::decoder
