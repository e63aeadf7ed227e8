#include "Operations/copying/BuiltFile.hpp"

#include "files/Flush.hpp"
#include "files/HiddenItem.hpp"
#include "files/ItemMetadata.hpp"
#include "files/NamingError.hpp"
#include "files/Place.hpp"
#include "files/Staging.hpp"

#include <fstream>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv {
namespace {

Place opened_folder_of(const Url& url, const BuiltFileErrors& errors)
{
    try {
        return Place::in_resolved_folder(url);
    } catch (const Error& cause) {
        throw errors.not_finalized.because_of(cause);
    }
}

PartialFile created_file(Staging& staging, const DestinationFolder& folder,
                         const BuiltFileErrors& errors)
{
    try {
        return staging.create(folder);
    } catch (const Error& cause) {
        // An error that stops the construction beside the destination would also stop the file
        // there.
        const bool is_destination = cause.path() == folder.url;
        throw(is_destination ? errors.not_finalized : errors.not_created).because_of(cause);
    }
}

/// The process's mode for new files; without the information, the usual one.
mode_t mode_of_new_files()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("Umask:"))
            return 0666 & ~static_cast<mode_t>(std::stoul(line.substr(6), nullptr, 8));
    return 0644;
}

/// Gives the file, so far its owner's alone, the permissions of new files, and flushes it.
void finish(const PartialFile& file, const Url& url, const BuiltFileErrors& errors)
{
    try {
        keep_mode(file.fd(), mode_of_new_files(), url);
        flush(file.fd(), url);
    } catch (const Error& cause) {
        throw errors.not_finalized.because_of(cause);
    }
}

/// Writes the name of the new file to its disk, or takes it back.
void keep_name(const PartialFile& file, const DestinationItem& destination,
               const BuiltFileErrors& errors)
{
    const FileDescriptor folder(
        ::openat(destination.folder.fd, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    try {
        if (folder)
            flush(folder.get(), destination.url());
        else
            flush_volume(file.fd(), destination.url()); // the folder may refuse to be read
    } catch (const Error& cause) {
        ::unlinkat(destination.folder.fd, destination.name.c_str(), 0);
        throw errors.not_finalized.because_of(cause);
    }
}

/// Builds the file, gives it its name, and calls `named` while a note still announces it.
void build_new_file(const DestinationItem& destination, const BuiltFileErrors& errors,
                    FunctionRef<void(const PartialFile&)> fill,
                    FunctionRef<void(const PartialFile&)> named)
{
    Staging staging;
    for (;;) {
        PartialFile file = created_file(staging, destination.folder, errors);
        fill(file);
        finish(file, destination.url(), errors);
        const int code = staging.publish(file, destination.folder, destination.name);
        if (code == 0)
            return named(file);
        if (!staging.can_do_otherwise(code))
            throw errors.not_finalized.because_of(
                naming_error(code, destination.folder.fd, destination.name, destination.url()));
    }
}

/// The place of a file to replace an item: hidden beside it until the file is complete.
HiddenItem hidden_place(const Url& url, const BuiltFileErrors& errors)
{
    try {
        return HiddenItem(url);
    } catch (const Error& cause) {
        throw errors.not_finalized.because_of(cause);
    }
}

void build_replacement(const Url& url, const BuiltFileErrors& errors,
                       FunctionRef<void(const PartialFile&)> fill)
{
    HiddenItem hidden = hidden_place(url, errors);
    // Its hidden name need not be on the disk, so nothing follows.
    build_new_file(hidden.item(), errors, fill, [](const PartialFile&) {});
    try {
        hidden.publish_replacing();
    } catch (const Error& cause) {
        throw errors.not_finalized.because_of(cause);
    }
}

} // namespace

void build_file(const Url& url, bool replaces, const BuiltFileErrors& errors,
                FunctionRef<void(const PartialFile&)> fill)
{
    if (replaces)
        return build_replacement(url, errors, fill);
    const Place destination = opened_folder_of(url, errors);
    const DestinationItem item{{destination.folder(), url.deleting_last_path_component()},
                               destination.path};
    build_new_file(item, errors, fill,
                   [&](const PartialFile& file) { keep_name(file, item, errors); });
}

} // namespace orv
