#pragma once

#include <orv/Operations/ReserveFileUrlOpr.hpp>
#include <orv/utility/Url.hpp>

#include <memory>

namespace orv {

/// Starts the reservation of `url`.
std::shared_ptr<ReserveFileUrlOpr>
reserve_file_url(Url url, ReserveFileUrlOpr::StatusClosure status_closure);

/// Ends the reservation. Does nothing the second time.
///
/// Threading: any; off the main thread it waits for it.
void release_file_url(ReserveFileUrlOpr::Ticket& ticket);

} // namespace orv
