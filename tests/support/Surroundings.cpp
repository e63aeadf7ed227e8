#include "support/Surroundings.hpp"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <sched.h>
#include <sys/fsuid.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace orv::test {
namespace {

constexpr uid_t nobody = 65534;

void check(bool done, const char* what)
{
    if (!done)
        throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
}

} // namespace

Unprivileged::Unprivileged(const Url& folder)
{
    if (::geteuid() == 0)
        check(::chown(folder.path().c_str(), nobody, static_cast<gid_t>(-1)) == 0, "chown");
    user_before_ = ::setfsuid(::geteuid() == 0 ? nobody : ::geteuid());
}

Unprivileged::~Unprivileged()
{
    ::setfsuid(static_cast<uid_t>(user_before_));
}

DescriptorLimit::DescriptorLimit(unsigned spare)
{
    // The sanitizers open a pipe to look at the first object of a type, so it is made before.
    (void)error_of([] { throw platform_error(EMFILE, Url()); })->code();
    const FileDescriptor lowest_free(::dup(STDERR_FILENO));
    check(::getrlimit(RLIMIT_NOFILE, &before_) == 0, "getrlimit");
    const rlimit limit{static_cast<rlim_t>(lowest_free.get()) + spare, before_.rlim_max};
    check(::setrlimit(RLIMIT_NOFILE, &limit) == 0, "setrlimit");
}

DescriptorLimit::~DescriptorLimit()
{
    ::setrlimit(RLIMIT_NOFILE, &before_);
}

std::optional<std::string> mounts_of_its_own()
{
    if (::unshare(CLONE_NEWNS) != 0 ||
        ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        return "mounting needs more rights: " + std::string(std::strerror(errno));
    return std::nullopt;
}

void make_deep_tree(const Url& root, int levels, const std::string& name)
{
    // Links to one file, which are much cheaper to make than files.
    const Url file = root.appending("a");
    check(::mknod(file.path().c_str(), S_IFREG | S_IRUSR, 0) == 0, "mknod");
    FileDescriptor folder = opened_folder(root);
    for (int level = 0; level < levels; ++level) {
        check(level == 0 || ::linkat(AT_FDCWD, file.path().c_str(), folder.get(), "a", 0) == 0,
              "link");
        check(::linkat(AT_FDCWD, file.path().c_str(), folder.get(), "z", 0) == 0, "link");
        check(::mkdirat(folder.get(), name.c_str(), S_IRWXU) == 0, "mkdir");
        FileDescriptor next(
            ::openat(folder.get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        check(bool(next), "open");
        folder = std::move(next);
    }
}

std::vector<std::string> make_wide_folder(const Url& url, int count)
{
    check(::mkdir(url.path().c_str(), S_IRWXU) == 0, "mkdir");
    const FileDescriptor folder = opened_folder(url);
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i) {
        names.push_back("a name of some length " + std::to_string(i));
        check(i == 0 ? ::mknodat(folder.get(), names[0].c_str(), S_IFREG | S_IRUSR, 0) == 0
                     : ::linkat(folder.get(), names[0].c_str(), folder.get(), names.back().c_str(),
                                0) == 0,
              "file");
    }
    return names;
}

void make_fifo(const Url& url)
{
    check(::mkfifo(url.path().c_str(), S_IRUSR | S_IWUSR) == 0, "mkfifo");
}

void make_socket(const Url& url)
{
    check(::mknod(url.path().c_str(), S_IFSOCK | S_IRUSR | S_IWUSR, 0) == 0, "mknod");
}

FileDescriptor opened_folder(const Url& url)
{
    FileDescriptor folder(::open(url.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    check(bool(folder), "open");
    return folder;
}

std::optional<Error> error_of(FunctionRef<void()> action)
{
    try {
        action();
        return std::nullopt;
    } catch (const Error& error) {
        return error;
    }
}

} // namespace orv::test
