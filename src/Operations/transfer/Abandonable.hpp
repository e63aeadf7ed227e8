#pragma once

#include "Operations/transfer/TransferRequest.hpp"

#include <functional>

namespace orv {

/// Does uninterruptible `work` on another thread, and waits for it. A cancel ends the wait at once,
/// and the work goes on by itself; so it owns all it needs.
///
/// Cancel: throws `Exception`.
/// Errors: those of `work`.
void do_abandonable(TransferRequest& request, std::function<void()> work);

} // namespace orv
