#pragma once

#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>
#include <orv/utility/Url.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <variant>

#pragma push_macro("Status") // X11 has one
#undef Status

namespace orv {

/// The claim of a file's location before there is anything to write, for example during a download.
///
/// Statuses: at most one `conflict_occured`, and the final status. A cancel and an error reserve
/// nothing. An item to be replaced is gone by then.
class ReserveFileUrlOpr final : public OrvOperation {
public:
    /// Proof of a reservation: no request reads or writes at the location until `release_file_url`
    /// takes the ticket back. A dropped ticket keeps its location to the end of the process.
    class Ticket {
    public:
        Ticket(const Ticket&) = delete;
        Ticket& operator=(const Ticket&) = delete;

        [[nodiscard]] const Url& url() const { return url_; }

        /// True after the release.
        ///
        /// Threading: any; off the main thread it waits for it.
        [[nodiscard]] bool is_used() const;

    private:
        friend class Reservation;
        explicit Ticket(Url url) : url_(std::move(url)) {}

        Url url_;
        bool is_used_ = false;           // main thread only
        std::uint64_t registration_ = 0; // at the locker
    };

    struct success {
        Url final_url = {}; ///< as the answer to a conflict has made it
        std::shared_ptr<Ticket> reservation_ticket = {};
    };
    using Status =
        std::variant<status::conflict_occured, success, status::error, status::cancelled>;
    using StatusClosure = std::function<void(const Status&)>;
};

} // namespace orv

#pragma pop_macro("Status")
