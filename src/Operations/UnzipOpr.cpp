#include "Operations/UnzipOpr.hpp"

#include "Global/TestMode.hpp"
#include "Operations/Descriptors.hpp"
#include "Operations/PathChecks.hpp"
#include "Operations/Request.hpp"
#include "Operations/TakenName.hpp"
#include "Operations/UrlLocker.hpp"
#include "Operations/ZipErrors.hpp"
#include "Tool/Tool.hpp"
#include "archive/Zip.hpp"

namespace orv {
namespace {

using UnzipRequest = Request<UnzipOperation>;

constexpr ErrorPlace unzip_place{"src/Operations/UnzipOpr",
                                 "unzip(archive_url:to:password:status_closure:)"};

void check_urls(const Url& archive, const Url& destination)
{
    check_path(archive, "Archive", unzip_place, {.undefined = 82, .root = 85});
    if (destination.standardized().empty())
        throw unzip_place("Destination url points to an undefined path.", 90);
    if (archive == destination)
        throw unzip_place("Archive and destination url cannot be the same.", 98).at(archive);
    if (!Tool::item_exists(destination))
        throw unzip_place("Destination folder doesn't exist.", 109).at(destination);
    if (!Tool::is_directory(destination))
        throw unzip_place("Destination url points to an existing non-folder item.", 105)
            .at(destination);
}

/// Where the archive is unpacked: a folder named like it, or with a free name.
Url container_of(const Url& archive, const Url& destination)
{
    const Url container =
        destination.appending(archive.deleting_path_extension().last_path_component());
    if (!Tool::item_exists(container))
        return container;
    return free_url(container, unzip_place("Couldn't generate a non-conflicting url.", 120));
}

void create_container(const Url& container)
{
    try {
        Tool::make_directory(container, false);
    } catch (const Error& cause) {
        throw unzip_place("Couldn't create container folder.", 162).because_of(cause);
    }
}

/// The folder that a run has created, gone with everything in it unless the run keeps it.
class Container {
public:
    explicit Container(Url url) : url_(std::move(url)) { create_container(url_); }
    ~Container()
    {
        if (!is_kept_)
            Tool::delete_item(url_);
    }
    Container(const Container&) = delete;
    Container& operator=(const Container&) = delete;

    void keep() { is_kept_ = true; }

private:
    Url url_;
    bool is_kept_ = false;
};

void unpack(UnzipRequest& request, const Url& archive, const Url& container,
            const std::optional<std::string>& password)
{
    const auto canceller = std::make_shared<Zip::Canceller>();
    const auto tell = [&](float value, const Url& item) {
        request.report(status::progress<GeneralProgress>{{item, value}});
    };
    const auto call = [&] {
        Zip::unzipFile(archive, container, password, canceller, intr_test_mode(), tell);
    };
    with_zip_errors(Zip::Error::Case::unzip_failed, unzip_place("Unzip operation failed.", 220),
                    [&] { request.do_part([canceller] { canceller->cancel(); }, call); });
}

UnzipOperation::Status run(UnzipRequest& request, const Url& archive, const Url& destination,
                           const std::optional<std::string>& password)
{
    check_urls(archive, destination);
    const Url url = container_of(archive, destination);

    const auto lock = std::make_shared<UrlLock>(std::vector{read(archive)}, write(url), true);
    if (!Tool::item_exists(archive))
        throw unzip_place("Archive file doesn't exist.", 157).at(archive);
    const DescriptorLease descriptors = lease_descriptors(request, needed_by_archive);
    Container container(url);
    unpack(request, archive, url, password);
    container.keep();
    // The lock is kept for that: nobody else's folder may be deleted.
    request.set_undo([url, lock] { Tool::delete_item(url); });
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
