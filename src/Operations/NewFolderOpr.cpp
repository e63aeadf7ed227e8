#include "Operations/NewFolderOpr.hpp"

#include "Global/TestMode.hpp"
#include "Operations/PathChecks.hpp"
#include "Operations/Request.hpp"
#include "Operations/UrlLocker.hpp"
#include "Tool/Tool.hpp"

namespace orv {
namespace {

using Status = NewFolderOperation::Status;

constexpr ErrorPlace new_folder_place{"src/Operations/NewFolderOpr",
                                      "new_folder(at:also_create_intermediates:status_closure:)"};

void create(const Url& url, bool also_create_intermediates)
{
    try {
        Tool::make_directory(url, also_create_intermediates);
    } catch (const Error& cause) {
        throw new_folder_place("Couldn't create new folder.").because_of(cause).at(url);
    }
}

Status run(const Url& url, bool also_create_intermediates)
{
    check_path(url, "Given", new_folder_place);
    const UrlLock lock(write(url));
    pause_in_test_mode(std::chrono::seconds(1));
    if (Tool::item_exists(url))
        return NewFolderOperation::error{NewFolderOperation::item_already_exists{}};
    create(url, also_create_intermediates);
    return status::success{};
}

} // namespace

std::shared_ptr<NewFolderOperation> new_folder(Url at, bool also_create_intermediates,
                                               NewFolderOperation::StatusClosure status_closure)
{
    return start_request<NewFolderOperation>(
        std::move(status_closure),
        [at = std::move(at), also_create_intermediates](Request<NewFolderOperation>&) {
            return run(at, also_create_intermediates);
        });
}

} // namespace orv
