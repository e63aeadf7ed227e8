#include "files/FreeSpace.hpp"

#include "files/Place.hpp"

#include <orv/utility/Error.hpp>

#include <limits>

#include <fcntl.h>
#include <sys/statvfs.h>

namespace orv {

std::optional<std::int64_t> free_bytes(const Url& folder)
try {
    const Place place = Place::of(folder);
    const FileDescriptor opened(
        ::openat(place.folder(), place.name(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    struct statvfs volume {};
    // Volumes without a size of their own, such as /proc, state none.
    if (!opened || ::fstatvfs(opened.get(), &volume) != 0 || volume.f_blocks == 0)
        return std::nullopt;
    const auto blocks = static_cast<double>(volume.f_bavail);
    const double bytes = blocks * static_cast<double>(volume.f_frsize);
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    return bytes < static_cast<double>(most) ? static_cast<std::int64_t>(bytes) : most;
} catch (const Error&) {
    return std::nullopt;
}

} // namespace orv
