#include "decoder/Landlock.hpp"

#include "utility/FileDescriptor.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <cstdint>

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace orv::decoder {
namespace {

/// The accesses a set of rules forbids, in the layout of the newest kernels; older ones take the
/// beginning.
struct Forbidden {
    std::uint64_t files = 0;
    std::uint64_t network = 0;
    std::uint64_t scopes = 0;
};

constexpr std::uint64_t bits(unsigned count)
{
    return (std::uint64_t{1} << count) - 1;
}

/// All kinds of access a version of the interface knows.
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

void check_landlock(bool is_done)
{
    if (!is_done)
        throw Error("Files cannot be decoded safely on this system: its kernel keeps none away.")
            .because_of(platform_error(errno, {}));
}

void allow_below_root(const FileDescriptor& rules, std::uint64_t access)
{
    const FileDescriptor root(::open("/", O_PATH | O_CLOEXEC));
    landlock_path_beneath_attr rule{};
    rule.allowed_access = access;
    rule.parent_fd = root.get();
    check_landlock(
        ::syscall(SYS_landlock_add_rule, rules.get(), LANDLOCK_RULE_PATH_BENEATH, &rule, 0) == 0);
}

/// Forbids all accesses the kernel knows, except some to files.
void forbid_all_but(std::uint64_t access)
{
    const long version =
        ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    // Not in this kernel, or turned off.
    if (version < 1)
        return;
    const Forbidden forbidden = all_of(version);
    const FileDescriptor rules(
        static_cast<int>(::syscall(SYS_landlock_create_ruleset, &forbidden, size_for(version), 0)));
    check_landlock(static_cast<bool>(rules));
    if (access != 0)
        allow_below_root(rules, access);
    check_landlock(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
                   ::syscall(SYS_landlock_restrict_self, rules.get(), 0) == 0);
}

} // namespace

void forbid_all_but_reading()
{
    forbid_all_but(LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR);
}

void forbid_files_by_name()
{
    forbid_all_but(0);
}

} // namespace orv::decoder
