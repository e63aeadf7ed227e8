#include "Operations/copying/ItemCopier.hpp"

#include "Operations/SnglCopyOpr.hpp"
#include "files/CopyNode.hpp"
#include "files/ItemMetadata.hpp"
#include "files/NamingError.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <cerrno>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>

namespace orv {
namespace {

constexpr const ErrorPlace& raise = single_copy_place;

Error already_exists(const Url& url)
{
    return raise("Destination item already exists.").because_of(platform_error(EEXIST, url));
}

Error replaced_meanwhile(const Url& url)
{
    return raise("Source item was replaced while it was being copied.")
        .known_as(Cause::changed)
        .at(url);
}

/// The error for a vanished source, or one out of reach.
Error source_error(int code, const Url& url)
{
    const Error cause = platform_error(code, url);
    if (code == ESTALE)
        return replaced_meanwhile(url);
    return code == ENOENT ? raise("Source item doesn't exist.").because_of(cause) : cause;
}

/// A regular file open for reading, with its facts at that time.
struct OpenedSource {
    FileDescriptor file;
    struct stat status;
};

OpenedSource open_file(const SourceItem& source)
{
    OpenedSource opened{
        FileDescriptor(::openat(source.folder, source.name.c_str(),
                                O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)),
        {}};
    if (!opened.file)
        throw source_error(errno, source.url);
    if (::fstat(opened.file.get(), &opened.status) != 0)
        throw platform_error(errno, source.url);
    if (!S_ISREG(opened.status.st_mode))
        throw replaced_meanwhile(source.url);
    return opened;
}

void fill(const PartialFile& partial, const OpenedSource& opened, const Url& source_url,
          const Url& url, FileContent& content, ItemCopier::OnProgress on_progress)
{
    const int from = opened.file.get();
    const auto size = static_cast<float>(opened.status.st_size);
    content.copy({from, source_url}, {partial.fd(), url}, opened.status,
                 [&](std::int64_t bytes_done) {
                     const auto done = static_cast<float>(bytes_done);
                     on_progress(size > 0 ? std::min(done / size, 1.0F) : 0.0F);
                 });
    keep_extended_attributes(from, partial.fd(), url);
    keep_mode_and_times(partial.fd(), ModeAndTimes(opened.status), url);
}

Error no_partial_file(const Error& cause)
{
    return raise("Couldn't create destination file.").because_of(cause);
}

/// The mode for the new copy of a file: the original's from the start in most cases, so the copy
/// needs no chmod. Its owner keeps the right to write until everything else is in it.
mode_t mode_while_built(const struct stat& original)
{
    return (original.st_mode & 0777U) | 0600U;
}

std::optional<PartialFile> unnamed_file(const DestinationFolder& folder, mode_t mode)
{
    try {
        return PartialFile::unnamed(folder, mode);
    } catch (const Error& cause) {
        throw no_partial_file(cause);
    }
}

} // namespace

/// The error for a failed attempt to put an item to its final name.
Error ItemCopier::placing_error(int code, const DestinationItem& destination) const
{
    const Url url = destination.url();
    return code == EEXIST
               ? already_exists(url)
               : not_placed_(naming_error(code, destination.folder.fd, destination.name, url));
}

/// Copies an item without content, through `make`.
template <class Make>
void ItemCopier::copy_whole(Make make, const SourceItem& source,
                            const DestinationItem& destination) const
{
    try {
        (void)make(source, destination);
    } catch (const Error& error) {
        const auto code = error.code();
        if (!code) // beyond the volume's abilities
            throw not_placed_(error);
        throw error.path() == source.url ? source_error(*code, source.url)
                                         : placing_error(*code, destination);
    }
}

void ItemCopier::copy(const SourceItem& source, mode_t mode, const DestinationItem& destination,
                      OnProgress on_progress)
{
    if (S_ISREG(mode))
        copy_file(source, destination, on_progress);
    else if (S_ISLNK(mode))
        copy_whole(copy_link, source, destination);
    else if (S_ISFIFO(mode) || S_ISSOCK(mode))
        copy_whole(copy_node, source, destination);
    else
        throw raise("Device files can't be copied.").known_as(Cause::unsupported).at(source.url);
}

std::optional<PartialFile> ItemCopier::build(const SourceItem& source,
                                             const DestinationItem& destination,
                                             FileContent& content)
{
    const OpenedSource opened = open_file(source);
    std::optional<PartialFile> partial =
        unnamed_file(destination.folder, mode_while_built(opened.status));
    if (partial)
        fill(*partial, opened, source.url, destination.url(), content, [](float) {});
    return partial;
}

void ItemCopier::place(std::optional<PartialFile> built, const SourceItem& source,
                       const DestinationItem& destination)
{
    if (built) {
        const int code = staging_.publish(*built, destination.folder, destination.name);
        if (code == 0)
            return;
        const bool was_built_elsewhere = code == EXDEV;
        if (!was_built_elsewhere && !staging_.can_do_otherwise(code) && can_build())
            throw placing_error(code, destination);
    }
    copy_file(source, destination, [](float) {});
}

void ItemCopier::create_folder(const DestinationItem& destination)
{
    if (::mkdirat(destination.folder.fd, destination.name.c_str(), 0700) == 0)
        return;
    const int code = errno;
    if (code == EEXIST)
        throw already_exists(destination.url());
    throw raise("Couldn't create destination directory.")
        .because_of(naming_error(code, destination.folder.fd, destination.name, destination.url()));
}

void ItemCopier::copy_file(const SourceItem& source, const DestinationItem& destination,
                           OnProgress on_progress)
{
    const OpenedSource opened = open_file(source);
    for (;;) {
        PartialFile partial = create_partial(destination.folder, mode_while_built(opened.status));
        fill(partial, opened, source.url, destination.url(), content_, on_progress);
        const int code = staging_.publish(partial, destination.folder, destination.name);
        if (code == 0)
            return;
        if (!staging_.can_do_otherwise(code))
            throw placing_error(code, destination);
    }
}

PartialFile ItemCopier::create_partial(const DestinationFolder& destination, mode_t mode)
{
    try {
        return staging_.create(destination, mode);
    } catch (const Error& cause) {
        throw no_partial_file(cause);
    }
}

} // namespace orv
