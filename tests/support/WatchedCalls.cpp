#include "support/WatchedCalls.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/syscall.h>
#include <sys/uio.h>

namespace orv::test {
namespace {

/// How a call names a file: by the descriptor in one argument, by the path in it, or by the folder
/// in it and the path in the next.
enum class By { nothing, descriptor, path, folder_and_path };

struct Operand {
    By by = By::nothing;
    std::size_t argument = 0;
};

struct WatchedCall {
    int number;
    const char* name;
    Operand first;
    Operand second = {};
};

constexpr Operand fd_in(std::size_t argument)
{
    return {By::descriptor, argument};
}
constexpr Operand path_in(std::size_t argument)
{
    return {By::path, argument};
}
constexpr Operand at_in(std::size_t argument)
{
    return {By::folder_and_path, argument};
}

const WatchedCall watched_calls[] = {
    {SYS_open, "open", path_in(0)},
    {SYS_creat, "creat", path_in(0)},
    {SYS_openat, "openat", at_in(0)},
    {SYS_openat2, "openat2", at_in(0)},
    {SYS_close, "close", fd_in(0)},
    {SYS_write, "write", fd_in(0)},
    {SYS_pwrite64, "pwrite64", fd_in(0)},
    {SYS_writev, "writev", fd_in(0)},
    {SYS_pwritev, "pwritev", fd_in(0)},
    {SYS_truncate, "truncate", path_in(0)},
    {SYS_ftruncate, "ftruncate", fd_in(0)},
    {SYS_fallocate, "fallocate", fd_in(0)},
    {SYS_fsync, "fsync", fd_in(0)},
    {SYS_fdatasync, "fdatasync", fd_in(0)},
    {SYS_syncfs, "syncfs", fd_in(0)},
    {SYS_copy_file_range, "copy_file_range", fd_in(0), fd_in(2)},
    {SYS_sendfile, "sendfile", fd_in(0), fd_in(1)},
    {SYS_splice, "splice", fd_in(0), fd_in(2)},
    {SYS_ioctl, "ioctl", fd_in(0)},
    {SYS_rename, "rename", path_in(0), path_in(1)},
    {SYS_renameat, "renameat", at_in(0), at_in(2)},
    {SYS_renameat2, "renameat2", at_in(0), at_in(2)},
    {SYS_link, "link", path_in(0), path_in(1)},
    {SYS_linkat, "linkat", at_in(0), at_in(2)},
    {SYS_symlink, "symlink", path_in(1)},
    {SYS_symlinkat, "symlinkat", at_in(1)},
    {SYS_unlink, "unlink", path_in(0)},
    {SYS_unlinkat, "unlinkat", at_in(0)},
    {SYS_rmdir, "rmdir", path_in(0)},
    {SYS_mkdir, "mkdir", path_in(0)},
    {SYS_mkdirat, "mkdirat", at_in(0)},
    {SYS_mknod, "mknod", path_in(0)},
    {SYS_mknodat, "mknodat", at_in(0)},
    {SYS_chmod, "chmod", path_in(0)},
    {SYS_fchmod, "fchmod", fd_in(0)},
    {SYS_fchmodat, "fchmodat", at_in(0)},
    {SYS_chown, "chown", path_in(0)},
    {SYS_lchown, "lchown", path_in(0)},
    {SYS_fchown, "fchown", fd_in(0)},
    {SYS_fchownat, "fchownat", at_in(0)},
    {SYS_utimensat, "utimensat", at_in(0)},
    {SYS_setxattr, "setxattr", path_in(0)},
    {SYS_lsetxattr, "lsetxattr", path_in(0)},
    {SYS_fsetxattr, "fsetxattr", fd_in(0)},
    {SYS_removexattr, "removexattr", path_in(0)},
    {SYS_fremovexattr, "fremovexattr", fd_in(0)},
};

/// Where a link of the process that makes `call` leads, such as "cwd" or "fd/3"; empty for none.
std::string link_of_caller(const seccomp_notif& call, const std::string& link)
{
    std::error_code none;
    return std::filesystem::read_symlink("/proc/" + std::to_string(call.pid) + "/" + link, none);
}

std::string text_of_caller(const seccomp_notif& call, std::uint64_t address)
{
    std::array<char, PATH_MAX> text{};
    const iovec here{text.data(), text.size() - 1};
    // A page that follows the text may not be there, so each page is read for itself.
    constexpr std::uint64_t page = 4096;
    std::array<iovec, 2> there{};
    const std::uint64_t first = std::min<std::uint64_t>(page - address % page, text.size() - 1);
    there[0] = {reinterpret_cast<void*>(address), first};
    there[1] = {reinterpret_cast<void*>(address + first), text.size() - 1 - first};
    const auto pid = static_cast<pid_t>(call.pid);
    ::process_vm_readv(pid, &here, 1, there.data(), there.size(), 0);
    return text.data();
}

std::string folder_of_caller(const seccomp_notif& call, int fd)
{
    return link_of_caller(call, fd == AT_FDCWD ? "cwd" : "fd/" + std::to_string(fd));
}

std::string absolute(const seccomp_notif& call, int folder, const std::string& path)
{
    constexpr std::string_view own_descriptor = "/proc/self/fd/";
    if (path.starts_with(own_descriptor))
        return link_of_caller(call, path.substr(std::string_view("/proc/self/").size()));
    if (path.starts_with('/'))
        return path;
    const std::string parent = folder_of_caller(call, folder);
    return path.empty() ? parent : parent + "/" + path;
}

std::string file_of(const seccomp_notif& call, const Operand& operand)
{
    const auto value = [&](std::size_t index) { return call.data.args[index]; };
    const auto fd = static_cast<int>(value(operand.argument));
    switch (operand.by) {
    case By::nothing:
        return {};
    case By::descriptor:
        return link_of_caller(call, "fd/" + std::to_string(fd));
    case By::path:
        return absolute(call, AT_FDCWD, text_of_caller(call, value(operand.argument)));
    case By::folder_and_path:
        if (const std::uint64_t address = value(operand.argument + 1))
            return absolute(call, fd, text_of_caller(call, address));
        return folder_of_caller(call, fd);
    }
    return {};
}

bool leads_to_another_folder(const seccomp_notif& call)
{
    const std::filesystem::path from = file_of(call, at_in(0));
    const std::filesystem::path to = file_of(call, at_in(2));
    return from.parent_path() != to.parent_path();
}

bool is_harmless(const seccomp_notif& call)
{
    return call.data.nr == SYS_ioctl && call.data.args[1] != FICLONE &&
           call.data.args[1] != FICLONERANGE;
}

} // namespace

std::vector<sock_filter> filter_of_watched_calls()
{
    std::vector<sock_filter> filter{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const WatchedCall& watched : watched_calls) {
        filter.push_back(
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(watched.number), 0, 1));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF));
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    return filter;
}

int code_of_lacking(const Lacking& lacking, const seccomp_notif& call)
{
    switch (call.data.nr) {
    case SYS_openat:
        return lacking.unnamed_files && (call.data.args[2] & O_TMPFILE) == O_TMPFILE ? EOPNOTSUPP
                                                                                     : 0;
    case SYS_renameat2:
        if (lacking.renaming_between_folders && leads_to_another_folder(call))
            return EXDEV;
        return lacking.renaming_with_flags && call.data.args[4] != 0 ? EINVAL : 0;
    case SYS_linkat:
        return lacking.links ? EPERM : 0;
    case SYS_fsetxattr:
        return lacking.attributes ? EOPNOTSUPP : 0;
    default:
        return 0;
    }
}

std::string call_below(const std::string& root, const seccomp_notif& call)
{
    const auto* watched = std::ranges::find(watched_calls, call.data.nr, &WatchedCall::number);
    if (watched == std::end(watched_calls) || is_harmless(call))
        return {};
    std::string text = watched->name;
    bool is_below = false;
    for (const Operand& operand : {watched->first, watched->second}) {
        const std::string file = file_of(call, operand);
        is_below = is_below || file == root || file.starts_with(root + "/");
        if (!file.empty())
            text += " " + file;
    }
    return is_below ? text : std::string();
}

} // namespace orv::test
