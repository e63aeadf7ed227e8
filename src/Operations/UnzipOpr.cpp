#include "Operations/UnzipOpr.hpp"

#include "Global/TestMode.hpp"
#include "Operations/ZipErrors.hpp"
#include "Operations/frame/Descriptors.hpp"
#include "Operations/frame/PathChecks.hpp"
#include "Operations/frame/Request.hpp"
#include "Operations/frame/TakenName.hpp"
#include "Operations/frame/UrlLocker.hpp"
#include "Operations/frame/ZipWatch.hpp"
#include "Tool/Tool.hpp"
#include "archive/Zip.hpp"
#include "files/Flush.hpp"
#include "files/FolderReader.hpp"
#include "files/ItemStatus.hpp"
#include "files/OpenFolder.hpp"
#include "files/Place.hpp"
#include "files/RemoveTree.hpp"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv {
namespace {

using UnzipRequest = Request<UnzipOperation>;

constexpr ErrorPlace unzip_place{"src/Operations/UnzipOpr",
                                 "unzip(archive_url:to:password:status_closure:)"};

void check_urls(const Url& archive, const Url& destination)
{
    check_path(archive, "Archive", unzip_place, {.undefined = 82, .root = 85});
    if (destination.standardized().empty())
        throw unzip_place("Destination url points to an undefined path.", 90)
            .known_as(Cause::invalid);
    if (archive == destination)
        throw unzip_place("Archive and destination url cannot be the same.", 98)
            .known_as(Cause::invalid)
            .at(archive);
    if (!Tool::item_exists(destination))
        throw missing_item(unzip_place("Destination folder doesn't exist.", 109), destination);
    if (!Tool::is_directory(destination))
        throw unzip_place("Destination url points to an existing non-folder item.", 105)
            .known_as(Cause::wrong_kind)
            .at(destination);
}

/// The place of the unpacked archive: a folder with its name, or with a free one.
Url container_of(const Url& archive, const Url& destination)
{
    const Url container =
        destination.appending(archive.deleting_path_extension().last_path_component());
    if (!Tool::item_exists(container))
        return container;
    return free_url(container, unzip_place("Couldn't generate a non-conflicting url.", 120));
}

/// The folder this run created. It goes with all its contents unless the run keeps it. The run
/// neither unpacks into another item in its place, nor removes it.
class Container {
public:
    explicit Container(const Url& url)
    try : place_(Place::in_opened_folder(url)), url_(url), folder_(created()) {
    } catch (const Error& cause) {
        throw unzip_place("Couldn't create container folder.", 162).because_of(cause);
    }
    ~Container()
    {
        if (!is_kept_)
            remove();
    }
    Container(const Container&) = delete;
    Container& operator=(const Container&) = delete;

    [[nodiscard]] DestinationFolder folder() const { return {folder_.descriptor.get(), url_}; }

    /// True if the folder still has its name. FUSE and network volumes may number items anew.
    [[nodiscard]] bool is_in_place() const
    {
        const OpenFolder found = open_folder(place_.folder(), place_.name());
        return found.error == 0 &&
               (found.identity() == folder_.identity() || !has_lasting_identity());
    }

    void keep() { is_kept_ = true; }

    void remove() noexcept
    try {
        if (has_lasting_identity())
            remove_folder(place_.folder(), place_.name(), url_, folder_.identity());
        else if (is_in_place())
            remove_tree(place_.folder(), place_.name(), url_);
    } catch (const std::exception&) {
        return; // a leftover is in sight under the run's name for it
    }

private:
    [[nodiscard]] bool has_lasting_identity() const
    {
        return reports_faults(folder_.descriptor.get());
    }

    /// An item swapped for the new folder is not an empty folder.
    [[nodiscard]] OpenFolder created() const
    {
        if (::mkdirat(place_.folder(), place_.name(), S_IRWXU | S_IRWXG | S_IRWXO) != 0)
            throw platform_error(errno, url_);
        OpenFolder folder = open_folder(place_.folder(), place_.name());
        if (folder.error == 0 && !is_empty_folder(folder.descriptor.get()))
            folder.error = ESTALE;
        if (folder.error == 0)
            return folder;
        ::unlinkat(place_.folder(), place_.name(), AT_REMOVEDIR); // removes empty ones only
        throw platform_error(folder.error, url_);
    }

    const Place place_;
    const Url url_;
    const OpenFolder folder_;
    bool is_kept_ = false;
};

void unpack(UnzipRequest& request, const Url& archive, const Container& container,
            const std::optional<std::string>& password)
{
    const std::shared_ptr<Zip::Canceller> canceller = watched_by(request);
    const auto call = [&] {
        Zip::unzipFile(archive, container.folder(), password, canceller, intr_test_mode(),
                       told_by(request));
    };
    const Error failure = unzip_place("Unzip operation failed.", 220);
    with_zip_errors(Zip::Error::Case::unzip_failed, failure,
                    [&] { request.do_part([canceller] { canceller->cancel(); }, call); });
    if (!container.is_in_place())
        throw failure.because_of(platform_error(ESTALE, container.folder().url));
}

UnzipOperation::Status run(UnzipRequest& request, const Url& archive, const Url& destination,
                           const std::optional<std::string>& password)
{
    check_urls(archive, destination);
    const Url url = container_of(archive, destination);

    const auto lock = std::make_shared<UrlLock>(std::vector{read(archive)}, write(url), true);
    if (!Tool::item_exists(archive))
        throw missing_item(unzip_place("Archive file doesn't exist.", 157), archive);
    const DescriptorLease descriptors = lease_descriptors(request, needed_by_archive);
    const auto container = std::make_shared<Container>(url);
    unpack(request, archive, *container, password);
    container->keep();
    request.tally().add_result(url);
    request.add_undo_step(undo_step(UndoVerb::unpacking, UndoAction::discard, url));
    // Keeps the lock for it: it must not delete another request's folder.
    request.set_undo([container, lock] { container->remove(); });
    return status::success{};
}

} // namespace

std::shared_ptr<UnzipOperation> unzip_archive(Url archive_url, Url dest_url,
                                              std::optional<std::string> password,
                                              UnzipOperation::StatusClosure status_closure)
{
    return start_request<UnzipOperation>(std::move(status_closure),
                                         [archive = std::move(archive_url),
                                          destination = std::move(dest_url),
                                          password = std::move(password)](UnzipRequest& request) {
                                             return run(request, archive, destination, password);
                                         });
}

} // namespace orv
