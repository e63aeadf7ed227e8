#pragma once

#include <orv/Operations/ReserveFileUrlOpr.hpp>
#include <orv/utility/Url.hpp>

#include <memory>

namespace orv {

/// Starts the reservation of `url`.
std::shared_ptr<ReserveFileUrlOpr>
reserve_file_url(Url url, ReserveFileUrlOpr::StatusClosure status_closure);

/// Ends the reservation; one that was ended stays so.
///
/// Threading: any; off the main thread it waits for it.
void release_file_url(ReserveFileUrlOpr::Ticket& ticket);

} // namespace orv
