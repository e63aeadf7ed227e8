#include "faults/Disk.hpp"

#include "utility/FileDescriptor.hpp"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <unistd.h>

namespace orv::test {
namespace {

// No header has them for programs. Without the flag the log would be flushed before.
constexpr unsigned long shut_down = _IOR('X', 125, std::uint32_t);
constexpr std::uint32_t without_flushing_the_log = 2;

void run(const std::string& command)
{
    if (std::system((command + " >/dev/null 2>&1").c_str()) != 0)
        throw std::runtime_error("this failed: " + command);
}

void check(bool done, const std::string& what)
{
    if (!done)
        throw std::runtime_error(what + ": " + std::strerror(errno));
}

std::string command_that_makes(const std::string& file_system)
{
    return file_system == "ext4"
               ? "mkfs.ext4 -q -J size=4 -E lazy_itable_init=0,lazy_journal_init=0 "
               : "mkfs.xfs -q --unsupported ";
}

/// Nothing is to be written but what is flushed. Disks that are copies of one are mounted together.
std::string options_for(const std::string& file_system)
{
    return file_system == "ext4" ? "loop,commit=600,noauto_da_alloc" : "loop,nouuid";
}

/// Writes the journal and nothing else, which flushing any new file does.
void write_names(int root)
{
    const FileDescriptor file(::openat(root, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600));
    check(file && ::fsync(file.get()) == 0, "the journal can't be written");
}

} // namespace

Disk::Disk(const Url& folder, const std::string& file_system)
    : file_system_(file_system), image_((folder.path() + "/disk.XXXXXX"))
{
    const FileDescriptor file(::mkostemp(image_.data(), O_CLOEXEC));
    constexpr off_t size = 24 << 20;
    check(file && ::ftruncate(file.get(), size) == 0, image_);
    run(command_that_makes(file_system_) + image_);
}

Disk::~Disk()
{
    if (!at_.empty())
        ::umount2(at_.c_str(), MNT_DETACH);
}

void Disk::mount(const Url& at)
{
    // A file of its own for each time: the loop device of the last time may not be free yet, and
    // would be used again.
    run("cp --sparse=always " + image_ + " " + image_ + ".new");
    run("mv " + image_ + ".new " + image_);
    run("mount -t " + file_system_ + " -o " + options_for(file_system_) + " " + image_ + " " +
        at.path());
    at_ = at.path();
}

void Disk::unmount()
{
    // A process that has ended may still be about to close its files.
    while (::umount2(at_.c_str(), 0) != 0) {
        check(errno == EBUSY, at_);
        ::sched_yield();
    }
    at_.clear();
}

void Disk::cut_power(Reached reached) const
{
    const FileDescriptor root(::open(at_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    check(static_cast<bool>(root), at_);
    if (reached == Reached::names)
        write_names(root.get());
    else if (reached == Reached::all)
        check(::syncfs(root.get()) == 0, at_);
    std::uint32_t flag = without_flushing_the_log;
    check(::ioctl(root.get(), shut_down, &flag) == 0, "the power can't be cut at " + at_);
}

void Disk::save() const
{
    run("cp --sparse=always " + image_ + " " + image_ + ".saved");
}

void Disk::restore() const
{
    run("cp --sparse=always --remove-destination " + image_ + ".saved " + image_);
}

} // namespace orv::test
