#include "archive/ArchiveDirectory.hpp"
#include "archive/EntryReader.hpp"
#include "archive/UnpackingPlan.hpp"

#include <cstdint>
#include <cstdlib>

#include <sys/mman.h>
#include <unistd.h>

// Reads any bytes as an archive, up to the content of its items; only the disk is left out.

namespace orv::archive {
namespace {

ArchiveToRead archive_of(const std::uint8_t* data, std::size_t size)
{
    ArchiveToRead archive{FileDescriptor(::memfd_create("archive", MFD_CLOEXEC)), "/archive.zip",
                          size};
    if (::write(archive.file.get(), data, size) != static_cast<ssize_t>(size))
        std::abort();
    return archive;
}

/// What a plan promises: that nothing in it leads elsewhere.
void check_path(std::string_view item_path)
{
    const std::string path(item_path);
    if (path.empty() || path.front() == '/' ||
        ("/" + path + "/").find("/../") != std::string::npos ||
        path.find('\0') != std::string::npos)
        std::abort();
}

void read_all(const ArchiveToRead& archive)
{
    const ExpansionLimits limits{1000, 1 << 20, 20, LinksOutside::leave_out};
    const Zip::Progress no_progress;
    const Job job({}, false, no_progress);
    ArchiveDirectory directory = read_directory(archive, limits.max_items, job);
    EntryReader reader(archive, directory, "secret", job);
    const UnpackingPlan plan = make_plan(archive, directory, reader, true, limits, job);
    for (const PlannedItem& item : plan.items) {
        check_path(item.path);
        std::uint64_t size = 0;
        if (item.kind == ItemKind::file)
            reader.read(*item.entry, [&](ByteView part) { size += part.size(); });
        if (item.kind == ItemKind::file && size != item.entry->size)
            std::abort();
    }
}

} // namespace
} // namespace orv::archive

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try {
        orv::archive::read_all(orv::archive::archive_of(data, size));
    } catch (const orv::Error&) {
        // refused, as it should be
    }
    return 0;
}
