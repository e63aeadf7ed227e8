#pragma once

#include <algorithm>
#include <cstdlib>

#include <sys/resource.h>
#include <unistd.h>

namespace orv::test {

/// From now on the process can start no thread. It acts as another user if it ran as root, whom the
/// limit does not bind.
inline void forbid_threads()
{
    const rlimit none{0, 0};
    if (::getuid() == 0 && ::setresuid(65534, 65534, 65534) != 0)
        std::_Exit(2);
    ::setrlimit(RLIMIT_NPROC, &none);
}

/// While it lives, the process may have `count` open files.
class FewDescriptors {
public:
    explicit FewDescriptors(rlim_t count)
    {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        const rlimit few{std::min(before_.rlim_cur, count), before_.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &few);
    }
    ~FewDescriptors() { ::setrlimit(RLIMIT_NOFILE, &before_); }
    FewDescriptors(const FewDescriptors&) = delete;
    FewDescriptors& operator=(const FewDescriptors&) = delete;

private:
    rlimit before_{};
};

} // namespace orv::test
