#include "decoder/Limits.hpp"

#include "decoder/SystemCallFilter.hpp"

#include <cstdlib>
#include <thread>

#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

namespace orv::decoder {
namespace {

// Beyond what the application waits for, so that it is the one to tell what happened.
constexpr time_t longest_seconds = 3;

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
    // What would write to a file finds that it cannot, and goes on.
    ::signal(SIGXFSZ, SIG_IGN);
    ::signal(SIGPIPE, SIG_IGN);
    ::signal(SIGALRM, SIG_DFL);
    ::signal(SIGXCPU, SIG_DFL);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

void set_timer(time_t seconds)
{
    itimerval timer{};
    timer.it_value.tv_sec = seconds;
    ::setitimer(ITIMER_REAL, &timer, nullptr);
}

void allow_processor_time()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const rlim_t used = static_cast<rlim_t>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec);
    const rlim_t cores = std::thread::hardware_concurrency();
    rlimit limits{};
    ::getrlimit(RLIMIT_CPU, &limits);
    limits.rlim_cur = used + 2 + cores * rlim_t{longest_seconds};
    if (limits.rlim_cur <= limits.rlim_max)
        ::setrlimit(RLIMIT_CPU, &limits);
}

} // namespace

void confine_process()
{
    constexpr rlim_t gibibyte = rlim_t{1} << 30;
    reset_signals();
    limit(RLIMIT_AS, 3 * gibibyte);
    limit(RLIMIT_FSIZE, 0);
    limit(RLIMIT_NOFILE, 64);
    limit(RLIMIT_CORE, 0);
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    forbid_system_calls();
    // A working folder would keep a volume from being unmounted.
    static_cast<void>(::chdir("/") == 0);
}

FileTime::FileTime()
{
    allow_processor_time();
    set_timer(longest_seconds);
}

FileTime::~FileTime()
{
    set_timer(0);
}

} // namespace orv::decoder
