#include "database/DatabaseVolume.hpp"

#include "utility/FileDescriptor.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/statfs.h>
#include <unistd.h>

namespace orv {
namespace {

constexpr std::size_t mapped_size = 32'768; // as SQLite maps it

// Behind these stands a server. When it goes away, mapped memory ends the process with SIGBUS,
// where a call would only fail; and other machines do not see the memory.
constexpr std::array<long, 11> served{FUSE_SUPER_MAGIC, NFS_SUPER_MAGIC,  SMB_SUPER_MAGIC,
                                      CIFS_SUPER_MAGIC, SMB2_SUPER_MAGIC, V9FS_MAGIC,
                                      AFS_SUPER_MAGIC,  AFS_FS_MAGIC,     CEPH_SUPER_MAGIC,
                                      CODA_SUPER_MAGIC, NCP_SUPER_MAGIC};

bool is_served(int file)
{
    struct statfs volume {};
    return ::fstatfs(file, &volume) == 0 &&
           std::ranges::find(served, static_cast<long>(volume.f_type)) != served.end();
}

/// Maps the file without writing to it: a full volume maps files, too, and SQLite takes the room
/// for its own before it writes.
bool can_map(int file)
{
    if (::ftruncate(file, mapped_size) != 0)
        return true; // the database reports the fault of the volume
    void* memory = ::mmap(nullptr, mapped_size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (memory == MAP_FAILED)
        return false;
    ::munmap(memory, mapped_size);
    return true;
}

} // namespace

DatabaseVolume DatabaseVolume::of(const Url& file)
{
    // One name for all processes: the next process takes over and removes the leftover of a killed
    // one.
    const std::string path = file.path() + "-tried";
    const FileDescriptor tried(
        ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!tried)
        return {}; // the database reports the obstacle better
    ::unlink(path.c_str());
    if (!is_served(tried.get()) && can_map(tried.get()))
        return {};
    const bool flushes = ::fsync(tried.get()) == 0 || (errno != ENOTSUP && errno != EINVAL);
    return {.shares_memory = false, .flushes = flushes};
}

} // namespace orv
