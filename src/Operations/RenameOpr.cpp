#include "Operations/RenameOpr.hpp"

#include "Global/TestMode.hpp"
#include "Operations/copying/MoveWithRecords.hpp"
#include "Operations/frame/PathChecks.hpp"
#include "Operations/frame/Request.hpp"
#include "Operations/frame/UrlLocker.hpp"
#include "Tool/Tool.hpp"
#include "files/Place.hpp"
#include "files/SameItem.hpp"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>

namespace orv {
namespace {

constexpr ErrorPlace rename_place{"src/Operations/RenameOpr",
                                  "rename(url:new_name:status_closure:)"};

void check_is_no_volume(const Url& url)
{
    const auto is_volume = Tool::is_volume(url);
    if (!is_volume)
        throw rename_place("Couldn't obtain `isVolume` info from url resource values.", 73).at(url);
    if (*is_volume)
        throw rename_place("Renaming a volume name is not supported yet.", 77)
            .known_as(Cause::unsupported)
            .at(url);
}

void check_is_name(const std::string& name, const Url& url)
{
    if (name.find('/') != std::string::npos)
        throw rename_place("New name cannot contain a slash.").known_as(Cause::invalid).at(url);
    if (name == "." || name == "..")
        throw rename_place("New name cannot be \".\" or \"..\".").known_as(Cause::invalid).at(url);
}

/// Of a link, its own date.
void set_modification_date_to_now(const Url& url)
{
    const Error failure = rename_place("Couldn't update modification date.", 113).at(url);
    try {
        const Place item = Place::of(url);
        const timespec now_only[2] = {{0, UTIME_OMIT}, {0, UTIME_NOW}};
        if (::utimensat(item.folder(), item.name(), now_only, AT_SYMLINK_NOFOLLOW) != 0)
            throw platform_error(errno, url);
    } catch (const Error& cause) {
        throw failure.because_of(cause);
    }
}

void rename_to(Request<RenameOperation>& request, const Url& url, const std::string& new_name)
{
    check_path(url, "Given", rename_place, {.undefined = 44, .root = 47});
    if (new_name.empty())
        throw rename_place("New name cannot be an empty string.", 52)
            .known_as(Cause::invalid)
            .at(url);
    check_is_name(new_name, url);
    const Url new_url = url.deleting_last_path_component().appending(new_name);

    const Url folder = url.deleting_last_path_component().resolving_symlinks();
    // The old name is no clash of locks: the check below refuses it as taken.
    const bool is_old_name = url.standardized() == new_url.standardized();
    const UrlLock lock({read(url)}, write(new_url), is_old_name);
    if (!Tool::item_exists(url))
        throw rename_place("No item exists at given url.", 68).known_as(Cause::missing).at(url);
    check_is_no_volume(url);
    if (Tool::item_exists(new_url) && !is_other_spelling(url, new_url))
        throw rename_place("Couldn't rename item, because the provided name is taken.", 82)
            .known_as(Cause::taken)
            .at(new_url);
    pause_in_test_mode(std::chrono::seconds(1));
    const Url from = folder.appending(url.last_path_component());
    const Url to = folder.appending(new_name);
    const auto before = undo_step(UndoVerb::renaming, UndoAction::move_back, from);
    NoReplaceRename rename;
    move_with_records(from, to, false, rename);
    request.tally().add_done(new_url);
    const auto note_for_undo = [&] {
        auto step = undo_step(UndoVerb::renaming, UndoAction::move_back, to, from);
        if (step && before)
            step->before = std::to_string(before->identity.modified);
        request.add_undo_step(std::move(step));
    };
    try {
        set_modification_date_to_now(new_url);
    } catch (const Error&) {
        note_for_undo();
        throw;
    }
    note_for_undo();
}

} // namespace

std::shared_ptr<RenameOperation> rename_item(Url url, std::string new_name,
                                             RenameOperation::StatusClosure status_closure)
{
    return start_request<RenameOperation>(
        std::move(status_closure),
        [url = std::move(url), new_name = std::move(new_name)](
            Request<RenameOperation>& request) -> RenameOperation::Status {
            rename_to(request, url, new_name);
            return status::success{};
        });
}

} // namespace orv
