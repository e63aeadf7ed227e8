#pragma once

#include "Operations/frame/ErrorPlace.hpp"
#include "utility/StopWatch.hpp"

#include <orv/Operations/SnglCopyOpr.hpp>

#include <memory>

namespace orv {

inline constexpr ErrorPlace single_copy_place{
    "src/Operations/SnglCopyOpr",
    "single_copy(src_url:dest_url:overwrite:should_lock_urls:status_closure:)"};

/// Starts the copy of one file, or of one folder without what is in it. With `should_lock_urls` it
/// makes sure first that no other request holds the two locations at this moment.
std::shared_ptr<SnglCopyOperation> single_copy(Url src_url, Url dest_url, bool overwrite,
                                               bool should_lock_urls,
                                               SnglCopyOperation::StatusClosure status_closure);

/// An operation that never starts.
std::shared_ptr<SnglCopyOperation> inert_single_copy();

/// How often the progress of a file is told: at most about once a second.
class ProgressInterval {
public:
    /// Whether the next report is due; if so, the interval begins anew.
    bool is_due()
    {
        if (since_last_.elapsed_time() <= 1.0)
            return false;
        since_last_.reset();
        return true;
    }

private:
    StopWatch since_last_;
};

} // namespace orv
