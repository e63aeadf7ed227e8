#include "decoder/Landlock.hpp"

#include "utility/FileDescriptor.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <cstdint>

#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace orv::decoder {
namespace {

/// What a set of rules forbids, as the newest kernels take it; older ones take the beginning.
struct Forbidden {
    std::uint64_t files = 0;
    std::uint64_t network = 0;
    std::uint64_t scopes = 0;
};

constexpr std::uint64_t bits(unsigned count)
{
    return (std::uint64_t{1} << count) - 1;
}

/// All that a version of the interface knows, told by the number of its kinds of access.
Forbidden all_of(long version)
{
    unsigned files = 13;
    if (version >= 2)
        files = 14; // linking and renaming between folders
    if (version >= 3)
        files = 15; // cutting short
    if (version >= 5)
        files = 16; // commands to devices
    return {bits(files), version >= 4 ? bits(2) : 0, version >= 6 ? bits(2) : 0};
}

std::size_t size_for(long version)
{
    const std::size_t fields = version >= 6 ? 3 : version >= 4 ? 2 : 1;
    return fields * sizeof(std::uint64_t);
}

} // namespace

void forbid_files_by_name()
{
    const long version =
        ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    // Not in this kernel, or turned off.
    if (version < 1)
        return;
    const Forbidden forbidden = all_of(version);
    const FileDescriptor rules(
        static_cast<int>(::syscall(SYS_landlock_create_ruleset, &forbidden, size_for(version), 0)));
    if (!rules || ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        ::syscall(SYS_landlock_restrict_self, rules.get(), 0) != 0)
        throw Error("Files cannot be decoded safely on this system: its kernel keeps none away.")
            .because_of(platform_error(errno, {}));
}

} // namespace orv::decoder
