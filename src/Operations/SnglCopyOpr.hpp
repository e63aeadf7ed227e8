#pragma once

#include "Operations/frame/ErrorPlace.hpp"
#include "utility/StopWatch.hpp"

#include <orv/Operations/SnglCopyOpr.hpp>

#include <memory>

namespace orv {

inline constexpr ErrorPlace single_copy_place{
    "src/Operations/SnglCopyOpr",
    "single_copy(src_url:dest_url:overwrite:should_lock_urls:status_closure:)"};

/// Starts the copy of one file, or of one folder without its contents. With `should_lock_urls` it
/// first makes sure no other request uses the two locations at this moment.
std::shared_ptr<SnglCopyOperation> single_copy(Url src_url, Url dest_url, bool overwrite,
                                               bool should_lock_urls,
                                               SnglCopyOperation::StatusClosure status_closure);

/// An operation that never starts.
std::shared_ptr<SnglCopyOperation> inert_single_copy();

/// Interval between progress reports of a file: at most about once a second.
class ProgressInterval {
public:
    /// True if the next report is due; the interval then begins anew.
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
