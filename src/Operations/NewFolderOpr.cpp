#include "Operations/NewFolderOpr.hpp"

#include "Global/TestMode.hpp"
#include "Operations/frame/PathChecks.hpp"
#include "Operations/frame/Request.hpp"
#include "Operations/frame/UrlLocker.hpp"
#include "Tool/Tool.hpp"
#include "files/MakeFolder.hpp"
#include "files/Place.hpp"

namespace orv {
namespace {

using Status = NewFolderOperation::Status;

constexpr ErrorPlace new_folder_place{"src/Operations/NewFolderOpr",
                                      "new_folder(at:also_create_intermediates:status_closure:)"};

/// `resolved` is `url` as the request found it at its beginning.
void create(const Url& url, const Url& resolved, bool also_create_intermediates)
{
    try {
        make_folder(resolved, also_create_intermediates, FolderLinks::refused);
    } catch (const Error& cause) {
        const Error failure = new_folder_place("Couldn't create new folder.");
        throw failure.at(cause.path() == resolved ? url : cause.path().value_or(url))
            .because_of(cause);
    }
}

/// The folder and the missing ones above it, the lowest first.
std::vector<Url> missing_up_from(const Url& folder)
{
    std::vector<Url> missing;
    for (Url url = folder; !Tool::item_exists(url); url = url.deleting_last_path_component())
        missing.push_back(url);
    return missing;
}

Status run(Request<NewFolderOperation>& request, const Url& url, bool also_create_intermediates)
{
    check_path(url, "Given", new_folder_place);
    const Url resolved = resolving_folders(url);
    const UrlLock lock(write(url));
    pause_in_test_mode(std::chrono::seconds(1));
    if (Tool::item_exists(url))
        return NewFolderOperation::error{NewFolderOperation::item_already_exists{}};
    const std::vector<Url> missing = missing_up_from(resolved);
    create(url, resolved, also_create_intermediates);
    request.tally().add_done(url);
    for (std::size_t i = missing.size(); i-- > 0;)
        request.add_undo_step(undo_step(UndoVerb::creating, UndoAction::remove_folder, missing[i]));
    return status::success{};
}

} // namespace

std::shared_ptr<NewFolderOperation> new_folder(Url at, bool also_create_intermediates,
                                               NewFolderOperation::StatusClosure status_closure)
{
    return start_request<NewFolderOperation>(
        std::move(status_closure),
        [at = std::move(at), also_create_intermediates](Request<NewFolderOperation>& request) {
            return run(request, at, also_create_intermediates);
        });
}

} // namespace orv
