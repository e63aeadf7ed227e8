#include "faults/Mount.hpp"

#include "support/Scratch.hpp"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include <sys/mount.h>

namespace orv::test {
namespace {

void check(int result, const Url& at)
{
    if (result != 0)
        throw std::runtime_error("no volume can be mounted at " + at.path() + ": " +
                                 std::strerror(errno));
}

} // namespace

Mount Mount::tmpfs(const Url& at, const std::string& options)
{
    check(::mount("tmpfs", at.path().c_str(), "tmpfs", 0, options.c_str()), at);
    return Mount(at);
}

Mount Mount::bound(const Url& folder, const Url& at)
{
    check(::mount(folder.path().c_str(), at.path().c_str(), nullptr, MS_BIND, nullptr), at);
    return Mount(at);
}

Mount Mount::image(const Url& file, const Url& at, const std::string& type)
{
    const std::string command = "mount -o loop -t " + type + " " + file.path() + " " + at.path();
    if (std::system(command.c_str()) != 0)
        throw std::runtime_error("no loop device could be mounted");
    return Mount(at);
}

std::optional<std::string> Mount::obstacle()
try {
    const Scratch scratch;
    const Mount tried = tmpfs(scratch.url());
    return std::nullopt;
} catch (const std::runtime_error& error) {
    return error.what();
}

Mount::Mount(Mount&& other) noexcept : at_(std::exchange(other.at_, {})) {}

Mount::~Mount()
{
    if (!at_.empty())
        ::umount2(at_.c_str(), MNT_DETACH);
}

void Mount::make_read_only() const
{
    check(::mount(nullptr, at_.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), Url(at_));
}

} // namespace orv::test
