#include "Operations/copying/CopiesAhead.hpp"

#include "Global/TestMode.hpp"
#include "Operations/frame/Descriptors.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

namespace orv {
namespace {

// As in a tree: 32 steps keep the second thread busy, and a large file waits for its turn.
constexpr DescriptorNeed needed_by_batch = needed_ahead(needed_by_transfer, 32);
constexpr std::int64_t largest_built_ahead = 1 << 20;

// File systems date a change to the tick of their clock, 1 to 10 ms long. A file just changed may
// change again under the same date.
constexpr std::chrono::milliseconds tick{20};

bool has_just_changed(const struct stat& status)
{
    const auto changed = std::chrono::seconds(status.st_ctim.tv_sec) +
                         std::chrono::nanoseconds(status.st_ctim.tv_nsec);
    const auto age = std::chrono::system_clock::now().time_since_epoch() - changed;
    return age < tick && age > -tick;
}

FileDescriptor opened(const Url& folder)
{
    return FileDescriptor(::open(folder.path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

} // namespace

CopiesAhead::CopiesAhead(const std::vector<Url>& sources, const Url& folder)
    : sources_(sources), folder_(folder), is_possible_(!intr_test_mode())
{
}

std::optional<BuiltAhead> CopiesAhead::take(std::size_t index, bool asks)
{
    next_ = std::max(next_, index);
    if (!is_possible_)
        return std::nullopt;
    go_on(asks);
    if (jobs_.empty()) {
        give_up();
        return std::nullopt;
    }
    try {
        BuiltAhead built{files_->take(), jobs_.front().version};
        jobs_.pop_front();
        is_possible_ = built.file.has_value(); // a volume either has such files or has not
        if (is_possible_)
            return built;
    } catch (const std::exception&) {
        // Without the others there may be room for it, and its turn finds the error anyway.
    }
    give_up();
    return std::nullopt;
}

void CopiesAhead::give_up()
{
    if (!jobs_.empty())
        next_ = jobs_.front().index;
    files_.reset();
    jobs_.clear();
    source_folder_.reset();
    source_folder_url_ = {};
    destination_ = {};
    lease_.reset();
}

/// The way ahead ends at the first item that must wait for its turn.
void CopiesAhead::go_on(bool asks)
{
    while (next_ < sources_.size() && (jobs_.empty() || jobs_.size() < steps_)) {
        if (!open())
            return;
        std::optional<Job> job = job_for(next_, asks);
        if (!job)
            return;
        const Url& url = sources_[next_];
        const std::string name = url.last_path_component();
        files_->add({job->folder->get(), name, url}, {{destination_.get(), folder_}, name});
        jobs_.push_back(std::move(*job));
        ++next_;
    }
}

bool CopiesAhead::open()
{
    if (lease_)
        return true;
    std::optional<DescriptorLease> lease = DescriptorLease::try_take(needed_by_batch);
    if (!lease)
        return false;
    lease_.emplace(std::move(*lease));
    steps_ = steps_ahead(*lease_, needed_by_transfer);
    destination_ = opened(folder_);
    files_.emplace();
    return static_cast<bool>(destination_);
}

/// No value for anything but a small file, and for an item that must wait for its turn.
std::optional<CopiesAhead::Job> CopiesAhead::job_for(std::size_t index, bool asks)
{
    const Url& url = sources_[index];
    const Url folder = url.deleting_last_path_component();
    if (!source_folder_ || folder != source_folder_url_) {
        source_folder_ = std::make_shared<const FileDescriptor>(opened(folder));
        source_folder_url_ = folder;
    }
    const std::string name = url.last_path_component();
    struct stat status {};
    if (!*source_folder_ ||
        ::fstatat(source_folder_->get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return std::nullopt;
    if (!S_ISREG(status.st_mode) || status.st_size >= largest_built_ahead ||
        has_just_changed(status) || (asks && is_taken(name)))
        return std::nullopt;
    return Job{index, ItemVersion(status), source_folder_};
}

bool CopiesAhead::is_taken(const std::string& name) const
{
    struct stat status {};
    return ::fstatat(destination_.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

} // namespace orv
