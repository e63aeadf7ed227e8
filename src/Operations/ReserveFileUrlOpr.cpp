#include "Operations/ReserveFileUrlOpr.hpp"

#include "Operations/frame/PathChecks.hpp"
#include "Operations/frame/TakenName.hpp"
#include "Operations/frame/UrlLocker.hpp"
#include "Tool/Tool.hpp"
#include "files/Place.hpp"
#include "files/Removability.hpp"
#include "files/SetAside.hpp"

#include <orv/utility/MainQueue.hpp>

#include <optional>

namespace orv {

/// The parts of a ticket for the library alone.
class Reservation {
public:
    using Ticket = ReserveFileUrlOpr::Ticket;

    /// Locks the location.
    ///
    /// Errors: those of `UrlLocker::lock`.
    static std::shared_ptr<Ticket> issue(const Url& url)
    {
        const auto registration = UrlLocker::lock({}, write(url), false);
        const std::shared_ptr<Ticket> ticket(new Ticket(url));
        ticket->registration_ = static_cast<std::uint64_t>(registration);
        return ticket;
    }

    static void release(Ticket& ticket)
    {
        main_sync([&] {
            if (std::exchange(ticket.is_used_, true))
                return;
            UrlLocker::unlock(UrlLocker::Registration{ticket.registration_});
        });
    }
};

namespace {

using ReserveRequest = Request<ReserveFileUrlOpr>;

constexpr ErrorPlace reserve_place{"src/Operations/ReserveFileUrlOpr",
                                   "reserve_file_url(_:status_closure:)"};

/// The location to reserve after the question about a taken name, if there was one.
struct ReservedPlace {
    Url url;
    bool replaces = false;
};

ReservedPlace settle_conflict(ReserveRequest& request, const Url& url)
{
    if (!Tool::item_exists(url))
        return {url};
    switch (ask_about(request, url, false)) {
    case ConflictBehaviour::keep_both:
        return {free_url(url, reserve_place("Couldn't generate a non-conflicting url.", 96))};
    case ConflictBehaviour::replace:
        return {.url = url, .replaces = true};
    case ConflictBehaviour::merge:
    case ConflictBehaviour::stop:
        break;
    }
    return {url};
}

/// An item in the way of a reservation. It returns if the reservation fails.
class ReplacedItem {
public:
    explicit ReplacedItem(const Url& url)
    try : place_(Place::in_opened_folder(url)) {
        check_can_be_removed(place_.folder(), place_.name(), url);
        aside_.emplace(DestinationFolder{place_.folder(), url.deleting_last_path_component()},
                       place_.path, std::nullopt, rename_);
    } catch (const Error& cause) {
        throw reserve_place("Destination item couldn't be deleted while being overwritten.", 112)
            .because_of(cause);
    }

    void discard() { aside_->discard(); }

private:
    Place place_;
    NoReplaceRename rename_;
    std::optional<SetAside> aside_;
};

/// Removes the item at the reserved location. A failure gives the reservation up.
void make_room(ReserveRequest& request, const Url& url, ReserveFileUrlOpr::Ticket& ticket)
{
    try {
        ReplacedItem replaced(url);
        request.check_cancelled();
        replaced.discard();
    } catch (const Error&) {
        Reservation::release(ticket);
        throw;
    }
}

ReserveFileUrlOpr::Status run(ReserveRequest& request, const Url& url)
{
    check_path(url, "Destination", reserve_place, {.undefined = 60, .root = 63});
    const ReservedPlace place = settle_conflict(request, url);
    const auto ticket = Reservation::issue(place.url);
    request.set_undo([ticket] { Reservation::release(*ticket); });
    if (place.replaces)
        make_room(request, place.url, *ticket);
    return ReserveFileUrlOpr::success{place.url, ticket};
}

} // namespace

std::shared_ptr<ReserveFileUrlOpr> reserve_file_url(Url url,
                                                    ReserveFileUrlOpr::StatusClosure status_closure)
{
    return start_request<ReserveFileUrlOpr>(
        std::move(status_closure),
        [url = std::move(url)](ReserveRequest& request) { return run(request, url); });
}

void release_file_url(ReserveFileUrlOpr::Ticket& ticket)
{
    Reservation::release(ticket);
}

bool ReserveFileUrlOpr::Ticket::is_used() const
{
    return main_sync([this] { return is_used_; });
}

} // namespace orv
