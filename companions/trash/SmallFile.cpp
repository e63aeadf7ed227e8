#include "trash/SmallFile.hpp"

#include "files/ReadWrite.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>

namespace orv {

std::optional<std::string> small_file(const DestinationFolder& folder, const char* name)
{
    constexpr off_t largest = off_t{1} << 20;
    constexpr int mode = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    const FileDescriptor file(::openat(folder.fd, name, mode));
    const Url url = folder.url.appending(name);
    if (!file && errno != ENOENT && errno != ELOOP && errno != ENXIO)
        throw platform_error(errno, url);
    struct stat facts {};
    if (!file || ::fstat(file.get(), &facts) != 0 || !S_ISREG(facts.st_mode) ||
        facts.st_size > largest)
        return std::nullopt;
    std::string text(static_cast<std::size_t>(facts.st_size), '\0');
    const auto bytes = std::as_writable_bytes(std::span(text));
    std::size_t done = 0;
    while (done < text.size()) {
        const std::size_t count =
            read_some({file.get(), url}, bytes.subspan(done), static_cast<std::int64_t>(done));
        if (count == 0)
            break;
        done += count;
    }
    text.resize(done);
    return text;
}

} // namespace orv
