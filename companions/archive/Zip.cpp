#include "archive/Zip.hpp"

#include "archive/ArchiveDirectory.hpp"
#include "archive/ArchiveFile.hpp"
#include "archive/EntryReader.hpp"
#include "archive/Job.hpp"
#include "archive/Packing.hpp"
#include "archive/Unpacking.hpp"
#include "archive/UnpackingPlan.hpp"
#include "files/OpenFolder.hpp"
#include "files/Place.hpp"

#include <orv/utility/FunctionRef.hpp>

#include <algorithm>
#include <mutex>
#include <utility>

namespace orv {
namespace {

using archive::Job;

std::mutex limits_mutex;
ExpansionLimits limits_in_force;

/// Runs `work` and throws its errors as those of a request of this kind.
void run(Zip::Error::Case kind, FunctionRef<void()> work)
{
    try {
        work();
    } catch (const Exception&) {
        throw Zip::Error(Zip::Error::Case::cancelled, Error("The request was cancelled."));
    } catch (const Error& error) {
        throw Zip::Error(kind, error);
    } catch (const archive::CallbackThrew& callback) {
        std::rethrow_exception(callback.what);
    }
}

/// The effective password: an empty one is none.
std::optional<std::string> usable(const std::optional<std::string>& password)
{
    if (!password || password->empty())
        return std::nullopt;
    if (password->find('\0') != std::string::npos)
        throw Error("The password holds a character that no password can have.")
            .known_as(Cause::invalid);
    return password;
}

std::uint64_t items_of(const archive::UnpackingPlan& plan)
{
    const auto has_entry = [](const archive::PlannedItem& item) { return item.entry != nullptr; };
    return static_cast<std::uint64_t>(
        std::count_if(plan.items.begin(), plan.items.end(), has_entry));
}

} // namespace

void Zip::set_expansion_limits(const ExpansionLimits& limits)
{
    const std::lock_guard lock(limits_mutex);
    limits_in_force = limits;
}

ExpansionLimits Zip::expansion_limits()
{
    const std::lock_guard lock(limits_mutex);
    return limits_in_force;
}

void Zip::zipFiles(const std::vector<Url>& paths, const Url& zipFilePath,
                   const std::optional<std::string>& password, ZipCompression compression,
                   const std::shared_ptr<Canceller>& canceller, bool test_mode,
                   const Progress& progress)
{
    run(Error::Case::zip_failed, [&] {
        Job job(canceller, test_mode, progress);
        job.check();
        archive::ArchiveFile file(zipFilePath);
        archive::pack(paths, file, {compression, usable(password)}, job);
    });
}

void Zip::unzipFile(const Url& archive, const Url& destination,
                    const std::optional<std::string>& password,
                    const std::shared_ptr<Canceller>& canceller, bool test_mode,
                    const Progress& progress)
{
    OpenFolder folder;
    run(Error::Case::unzip_failed, [&] {
        const Place place = Place::of(destination);
        folder = open_folder_following_links(place.folder(), place.name());
        if (folder.error != 0)
            throw platform_error(folder.error, destination);
    });
    unzipFile(archive, DestinationFolder{folder.descriptor.get(), destination}, password, canceller,
              test_mode, progress);
}

void Zip::unzipFile(const Url& archive, const DestinationFolder& destination,
                    const std::optional<std::string>& password,
                    const std::shared_ptr<Canceller>& canceller, bool test_mode,
                    const Progress& progress)
{
    run(Error::Case::unzip_failed, [&] {
        Job job(canceller, test_mode, progress);
        job.check();
        const ExpansionLimits limits = expansion_limits();
        const std::optional<std::string> used_password = usable(password);
        const archive::ArchiveToRead file = archive::open_archive(archive);
        archive::ArchiveDirectory directory = archive::read_directory(file, limits.max_items, job);
        archive::EntryReader reader(file, directory, used_password, job);
        const archive::UnpackingPlan plan =
            archive::make_plan(file, directory, reader, used_password.has_value(), limits, job);
        job.set_total(plan.bytes, items_of(plan));
        archive::unpack(file, plan, reader, destination, job);
        if (plan.items.empty())
            job.report(destination.url);
    });
}

} // namespace orv
