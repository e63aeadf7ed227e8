#include "Operations/DataToFileOpr.hpp"

#include "Global/TestMode.hpp"
#include "Operations/SnglCopyOpr.hpp"
#include "Operations/copying/BuiltFile.hpp"
#include "Operations/frame/PathChecks.hpp"
#include "Operations/frame/Replacing.hpp"
#include "Operations/frame/TakenName.hpp"
#include "Operations/frame/UrlLocker.hpp"
#include "Tool/Tool.hpp"
#include "files/ItemStatus.hpp"
#include "files/ReadWrite.hpp"

#include <algorithm>
#include <span>

#include <fcntl.h>
#include <sys/stat.h>

namespace orv {
namespace {

using DataRequest = Request<DataToFileOpr>;
using Bytes = std::span<const std::byte>;

constexpr ErrorPlace data_place{"src/Operations/DataToFileOpr",
                                "generate_file(from:in:status_closure:)"};
constexpr std::size_t chunk_size = 102'400;
constexpr auto chunk_pause = std::chrono::milliseconds(50);

/// Where the file goes after the question about a taken name, if there was one.
struct TargetAnswer {
    Url target;
    bool replaces = false;
    bool replaces_file = false; // the same document, saved again
};

bool is_file(const Url& url)
{
    const auto status = item_status(url, AT_SYMLINK_NOFOLLOW);
    return status && S_ISREG(status->st_mode);
}

void check_request(Bytes data, const Url& target)
{
    if (data.empty())
        throw data_place("Source data is empty.", 79).known_as(Cause::invalid).at(target);
    check_path(target, "Destination", data_place, {.undefined = 84, .root = 87});
}

TargetAnswer settle_conflict(DataRequest& request, const Url& target)
{
    if (!Tool::item_exists(target))
        return {target};
    switch (ask_about(request, target, false)) {
    case ConflictBehaviour::keep_both:
        return {free_url(target, data_place("Couldn't generate a non-conflicting url.", 120))};
    case ConflictBehaviour::replace:
        return {.target = target, .replaces = true, .replaces_file = is_file(target)};
    case ConflictBehaviour::merge:
    case ConflictBehaviour::stop:
        break;
    }
    return {target};
}

void write_data(DataRequest& request, int file, Bytes data, const Url& target, RunningSums& sums,
                GeneralProgress progress)
{
    ProgressInterval interval;
    for (std::size_t written = 0; written < data.size();) {
        const Bytes chunk = data.subspan(written, std::min(chunk_size, data.size() - written));
        write_all({file, target}, chunk, static_cast<std::int64_t>(written));
        written += chunk.size();
        sums.bytes_up_to(static_cast<std::int64_t>(written));
        request.check_cancelled();
        if (interval.is_due()) {
            progress.value = static_cast<float>(written) / static_cast<float>(data.size());
            request.report(status::progress<GeneralProgress>{progress});
        }
        pause_in_test_mode(chunk_pause);
    }
}

DataToFileOpr::Status run(DataRequest& request, Bytes data, const Url& url)
{
    check_request(data, url);
    const Url folder = url.deleting_last_path_component().resolving_symlinks();
    const auto [target, replaces, replaces_file] = settle_conflict(request, url);

    const auto lock = std::make_shared<UrlLock>(write(target));
    const Error failure =
        data_place("Destination item couldn't be deleted while being overwritten.", 143);
    if (replaces)
        check_can_be_replaced(target, failure);
    const GeneralProgress progress{url, 0};
    request.tally().expect(static_cast<std::int64_t>(data.size()), 1);
    request.report(status::progress<GeneralProgress>{progress});
    const auto poll = [&] { request.check_cancelled(); };
    const Url at = folder.appending(target.last_path_component());
    const bool goes_first =
        replaces && only_fits_alone(target, static_cast<std::int64_t>(data.size()), poll);
    if (goes_first)
        remove_replaced(at, failure);
    RunningSums sums(request.tally());
    told_of_removal(goes_first, [&] {
        build_file(at, replaces && !goes_first,
                   {.not_created = data_place("Couldn't create destination file.", 169),
                    .not_finalized = data_place("Couldn't finalize copying to destination.", 247)},
                   [&](const PartialFile& file) {
                       write_data(request, file.fd(), data, target, sums, progress);
                   });
    });
    if (replaces && !replaces_file)
        delete_records_of_replaced(target);
    request.tally().add_done(target);
    if (!replaces)
        request.add_undo_step(undo_step(UndoVerb::writing, UndoAction::discard, target));
    // Keeps the lock for it: it must not delete another request's file. A file in the place of an
    // old item stays, because the old item is gone.
    if (replaces)
        request.set_done();
    else
        request.set_undo([target = target, lock] { Tool::delete_item(target); });
    return status::success{};
}

} // namespace

std::shared_ptr<DataToFileOpr> data_to_file(std::vector<std::byte> data, Url url,
                                            DataToFileOpr::StatusClosure status_closure)
{
    return start_request<DataToFileOpr>(
        std::move(status_closure), [data = std::move(data), url = std::move(url)](
                                       DataRequest& request) { return run(request, data, url); });
}

} // namespace orv
