#include "Operations/ItemCopier.hpp"

#include "Operations/ItemMetadata.hpp"
#include "Operations/SnglCopyOpr.hpp"
#include "Tool/Tool.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>

#include <fcntl.h>
#include <sys/stat.h>

namespace orv {
namespace {

constexpr const ErrorPlace& place = single_copy_place;

Error already_exists(const Url& url)
{
    return place("Destination item already exists.").because_of(platform_error(EEXIST, url));
}

/// The error for a failed attempt to put an item to its final name.
Error placing_error(int code, const Url& url)
{
    return code == EEXIST ? already_exists(url) : move_error(platform_error(code, url));
}

/// The error for a source that cannot be opened or described any more.
Error source_error(int code, const Url& url)
{
    const Error cause = platform_error(code, url);
    return code == ENOENT ? place("Source item doesn't exist.").because_of(cause) : cause;
}

struct stat described(int folder, const std::string& name, const Url& url)
{
    struct stat status {};
    if (::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        throw source_error(errno, url);
    return status;
}

void copy_link(const SourceItem& source, const DestinationFolder& destination,
               const std::string& name)
{
    const Url url = destination.url.appending(name);
    std::array<char, PATH_MAX> text{};
    const ssize_t length =
        ::readlinkat(source.folder, source.name.c_str(), text.data(), text.size() - 1);
    if (length < 0)
        throw source_error(errno, source.url);
    const struct stat status = described(source.folder, source.name, source.url);
    if (::symlinkat(text.data(), destination.fd, name.c_str()) != 0)
        throw placing_error(errno, url);
    keep_times_of_link(destination.fd, name, ModeAndTimes(status), url);
}

/// Gives the item that `name` means now its mode, even if another one takes its name meanwhile.
void set_mode_of_node(const DestinationFolder& destination, const std::string& name, mode_t mode)
{
    const FileDescriptor node(
        ::openat(destination.fd, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (node && ::fstat(node.get(), &status) == 0 && (status.st_mode & S_IFMT) == (mode & S_IFMT))
        ::chmod(("/proc/self/fd/" + std::to_string(node.get())).c_str(), kept_mode(mode));
}

/// Makes a FIFO or a socket: it has no content, so it is complete under its final name at once.
void copy_node(const SourceItem& source, const DestinationFolder& destination,
               const std::string& name)
{
    const Url url = destination.url.appending(name);
    const struct stat status = described(source.folder, source.name, source.url);
    if (::mknodat(destination.fd, name.c_str(), status.st_mode & (S_IFMT | 0777U), 0) != 0)
        throw placing_error(errno, url);
    set_mode_of_node(destination, name, status.st_mode);
    keep_times_of_link(destination.fd, name, ModeAndTimes(status), url);
}

} // namespace

void ItemCopier::copy(const SourceItem& source, mode_t mode, const DestinationFolder& destination,
                      const std::string& name, OnProgress on_progress)
{
    if (S_ISREG(mode))
        copy_file(source, destination, name, on_progress);
    else if (S_ISLNK(mode))
        copy_link(source, destination, name);
    else if (S_ISFIFO(mode) || S_ISSOCK(mode))
        copy_node(source, destination, name);
    else
        throw place("Device files can't be copied.").at(source.url);
}

void ItemCopier::create_folder(const DestinationFolder& destination, const std::string& name)
{
    if (::mkdirat(destination.fd, name.c_str(), 0700) == 0)
        return;
    const Url url = destination.url.appending(name);
    if (errno == EEXIST)
        throw already_exists(url);
    throw place("Couldn't create destination directory.").because_of(platform_error(errno, url));
}

void ItemCopier::copy_file(const SourceItem& source, const DestinationFolder& destination,
                           const std::string& name, OnProgress on_progress)
{
    const FileDescriptor file(::openat(source.folder, source.name.c_str(),
                                       O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file)
        throw source_error(errno, source.url);
    struct stat status {};
    if (::fstat(file.get(), &status) != 0)
        throw platform_error(errno, source.url);
    if (!S_ISREG(status.st_mode))
        throw place("Source item was replaced while it was being copied.").at(source.url);

    const Url url = destination.url.appending(name);
    for (;;) {
        PartialFile partial = create_partial(destination);
        fill({file.get(), source.url}, partial, status, url, on_progress);
        const int code = partial.publish(destination, name);
        if (code == 0)
            return;
        if (!staging_.can_do_otherwise(code))
            throw placing_error(code, url);
    }
}

void ItemCopier::fill(const OpenFile& file, const PartialFile& partial, const struct stat& status,
                      const Url& destination_url, OnProgress on_progress)
{
    const auto size = static_cast<float>(status.st_size);
    content_.copy(file, {partial.fd(), destination_url}, status, [&](std::int64_t bytes_done) {
        on_progress(size > 0 ? std::min(static_cast<float>(bytes_done) / size, 1.0F) : 0.0F);
    });
    keep_extended_attributes(file.fd, partial.fd(), destination_url);
    keep_mode_and_times(partial.fd(), ModeAndTimes(status), destination_url);
}

PartialFile ItemCopier::create_partial(const DestinationFolder& destination)
{
    try {
        return staging_.create(destination);
    } catch (const Error& cause) {
        throw place("Couldn't create destination file.").because_of(cause);
    }
}

} // namespace orv
