#include "Operations/transfer/TransferFinish.hpp"

#include "Operations/transfer/Abandonable.hpp"
#include "Operations/transfer/TransferErrors.hpp"
#include "Operations/transfer/TransferRun.hpp"
#include "files/Flush.hpp"
#include "files/Place.hpp"
#include "files/ReadBack.hpp"

#include <cerrno>
#include <memory>
#include <utility>

#include <fcntl.h>

namespace orv {
namespace {

using Flush = TransferPolicy::Flush;

FileDescriptor opened_folder(const Url& folder)
{
    const Place place = Place::of(folder);
    FileDescriptor opened(
        ::openat(place.folder(), place.name(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened)
        throw platform_error(errno, folder);
    return opened;
}

FileDescriptor opened_file(const Url& url)
{
    const Place place = Place::of(url);
    FileDescriptor file(::openat(place.folder(), place.name(),
                                 O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file)
        throw platform_error(errno, url);
    return file;
}

void flush_all(TransferRun& run, int folder, const Url& url)
{
    const auto own = std::make_shared<FileDescriptor>(::fcntl(folder, F_DUPFD_CLOEXEC, 0));
    do_abandonable(run.request, [own, url] {
        flush_volume(own->get(), url);
        flush(own->get(), url); // of a FUSE volume the server may know nothing yet
    });
}

void compare(TransferRun& run, const CopiedFile& file)
{
    const FileDescriptor original = opened_file(file.original);
    const FileDescriptor copy = opened_file(file.copy);
    check_reads_back({original.get(), file.original}, {copy.get(), file.copy},
                     [&] { run.request.check_cancelled(); });
}

/// Checks a copy until it is right, or reported as failed.
void settle(TransferRun& run, const CopiedFile& file, FunctionRef<void()> check)
{
    for (;;) {
        try {
            return check();
        } catch (const Error& error) {
            if (run.questions.settle(file.original, error) == FailureChoice::retry)
                continue;
            return run.log.fail_late(file.source, file.original, error);
        }
    }
}

} // namespace

TransferFinish::TransferFinish(const TransferPolicy& policy, const Url& folder)
    : folder_(folder), opened_(opened_folder(folder)), traits_(VolumeTraits::of(opened_.get())),
      flushes_(policy.flush == Flush::always ||
               (policy.flush == Flush::automatic && traits_.may_go_away)),
      verifies_(policy.verify), flushes_each_((policy.flush == Flush::always || verifies_) &&
                                              !can_flush_volume(opened_.get()))
{
    if (flushes_each_ || verifies_)
        copied_.emplace();
}

void TransferFinish::finish(TransferRun& run)
{
    if (!flushes_ && !verifies_)
        return;
    run.request.report(TransferOperation::finishing{});
    if (copied_ && flushes_each_)
        copied_->for_each([&](const CopiedFile& file) {
            run.request.check_cancelled();
            settle(run, file, [&] { flush(opened_file(file.copy).get(), file.copy); });
        });
    else
        flush_all(run, opened_.get(), folder_);
    if (copied_ && verifies_)
        copied_->for_each(
            [&](const CopiedFile& file) { settle(run, file, [&] { compare(run, file); }); });
}

} // namespace orv
