#include "decoder/SystemCallFilter.hpp"

#include "picture/DecoderProtocol.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <initializer_list>
#include <memory>

#include <fcntl.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>

namespace orv::decoder {
namespace {

struct FilterEnd {
    void operator()(void* filter) const { ::seccomp_release(filter); }
};
using Filter = std::unique_ptr<void, FilterEnd>;

void check_filter(int result)
{
    if (result != 0)
        throw Error("Files cannot be decoded safely on this system: its kernel filters no calls.")
            .because_of(platform_error(-result, {}));
}

/// Allows a call if its arguments are as told.
void allow(const Filter& filter, int call, std::initializer_list<scmp_arg_cmp> arguments = {})
{
    // A machine without such a call allows none.
    if (call < 0)
        return;
    check_filter(::seccomp_rule_add_array(filter.get(), SCMP_ACT_ALLOW, call,
                                          static_cast<unsigned>(arguments.size()),
                                          arguments.begin()));
}

scmp_arg_cmp equals(unsigned argument, std::uint64_t value)
{
    return {argument, SCMP_CMP_EQ, value, 0};
}

scmp_arg_cmp differs(unsigned argument, std::uint64_t value)
{
    return {argument, SCMP_CMP_NE, value, 0};
}

scmp_arg_cmp lacks(unsigned argument, std::uint64_t bits)
{
    return {argument, SCMP_CMP_MASKED_EQ, bits, 0};
}

/// Calls with no reach beyond this process and its open files.
void allow_harmless_calls(const Filter& filter)
{
    for (const int call :
         {// memory
          SCMP_SYS(brk), SCMP_SYS(munmap), SCMP_SYS(mremap), SCMP_SYS(madvise),
          // open files
          SCMP_SYS(read), SCMP_SYS(pread64), SCMP_SYS(readv), SCMP_SYS(lseek), SCMP_SYS(fstat),
          SCMP_SYS(recvmsg), SCMP_SYS(poll), SCMP_SYS(ppoll), SCMP_SYS(fadvise64),
          // threads
          SCMP_SYS(futex), SCMP_SYS(set_robust_list), SCMP_SYS(rseq), SCMP_SYS(sched_yield),
          SCMP_SYS(sched_getaffinity), SCMP_SYS(getpid), SCMP_SYS(gettid), SCMP_SYS(getcpu),
          SCMP_SYS(exit), SCMP_SYS(exit_group),
          // signals of its own
          SCMP_SYS(rt_sigaction), SCMP_SYS(rt_sigprocmask), SCMP_SYS(rt_sigreturn),
          SCMP_SYS(sigaltstack), SCMP_SYS(restart_syscall),
          // time and chance
          SCMP_SYS(clock_gettime), SCMP_SYS(clock_getres), SCMP_SYS(clock_nanosleep),
          SCMP_SYS(nanosleep), SCMP_SYS(gettimeofday), SCMP_SYS(time), SCMP_SYS(getrandom),
          // its own use of resources, and the system's
          SCMP_SYS(getrusage), SCMP_SYS(sysinfo), SCMP_SYS(uname)})
        allow(filter, call);
}

/// Mappings of code exist before.
void allow_memory_without_code(const Filter& filter)
{
    allow(filter, SCMP_SYS(mmap), {lacks(2, PROT_EXEC)});
    allow(filter, SCMP_SYS(mprotect), {lacks(2, PROT_EXEC)});
}

/// The C library's way to make threads, and no processes.
void allow_threads(const Filter& filter)
{
    constexpr std::uint64_t thread = CLONE_VM | CLONE_FS | CLONE_FILES | CLONE_SYSVSEM |
                                     CLONE_SIGHAND | CLONE_THREAD | CLONE_SETTLS |
                                     CLONE_PARENT_SETTID | CLONE_CHILD_CLEARTID;
    allow(filter, SCMP_SYS(clone), {equals(0, thread)});
    // Its arguments lie in memory, out of a filter's sight; libraries fall back to the other call.
    check_filter(::seccomp_rule_add(filter.get(), SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(clone3), 0));
    allow(filter, SCMP_SYS(prctl), {equals(0, PR_SET_NAME)});
}

void allow_descriptors(const Filter& filter)
{
    // The kernel ends this process through the lifeline, so it must stay open.
    allow(filter, SCMP_SYS(close), {differs(0, picture::decoder_lifeline)});
    allow(filter, SCMP_SYS(dup));
    for (const int command : {F_GETFD, F_SETFD, F_GETFL, F_DUPFD, F_DUPFD_CLOEXEC})
        allow(filter, SCMP_SYS(fcntl), {equals(1, static_cast<unsigned>(command))});
}

/// Pixels go to the application and to no other address; output of libraries is lost.
void allow_answers(const Filter& filter)
{
    allow(filter, SCMP_SYS(sendto), {equals(0, picture::decoder_socket), equals(4, 0)});
    for (const int output : {1, 2})
        for (const int call : {SCMP_SYS(write), SCMP_SYS(writev)})
            allow(filter, call, {equals(0, static_cast<unsigned>(output))});
}

/// Its own limits, never above the hard ones from before.
void allow_limits(const Filter& filter)
{
    for (const int resource : {RLIMIT_CPU, RLIMIT_DATA})
        allow(filter, SCMP_SYS(prlimit64),
              {equals(0, 0), equals(1, static_cast<unsigned>(resource))});
}

} // namespace

void allow_system_calls_of_decoding()
{
    const Filter filter(::seccomp_init(SCMP_ACT_ERRNO(EPERM)));
    if (!filter)
        check_filter(-ENOSYS);
    check_filter(::seccomp_attr_set(filter.get(), SCMP_FLTATR_ACT_BADARCH, SCMP_ACT_KILL_PROCESS));
    check_filter(::seccomp_attr_set(filter.get(), SCMP_FLTATR_CTL_NNP, 1));
    check_filter(::seccomp_attr_set(filter.get(), SCMP_FLTATR_CTL_TSYNC, 1));
    // A search instead of a list: each call passes through it.
    check_filter(::seccomp_attr_set(filter.get(), SCMP_FLTATR_CTL_OPTIMIZE, 2));
    allow_harmless_calls(filter);
    allow_memory_without_code(filter);
    allow_threads(filter);
    allow_descriptors(filter);
    allow_answers(filter);
    allow_limits(filter);
    check_filter(::seccomp_load(filter.get()));
}

} // namespace orv::decoder
