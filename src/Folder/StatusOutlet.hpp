#pragma once

#include <orv/Folder/OrvFolder.hpp>

#include <atomic>
#include <deque>
#include <memory>
#include <semaphore>

namespace orv {

/// The way of a folder's statuses to its closure, in order. A few may be on their way at once:
/// listing and display overlap, and memory stays bounded.
class StatusOutlet : public std::enable_shared_from_this<StatusOutlet> {
public:
    explicit StatusOutlet(OrvFolder::StatusClosure closure) : closure_(std::move(closure)) {}

    /// Sends a status off. Waits while too many are on their way; when closed, drops it.
    ///
    /// Threading: one background thread at a time.
    void post(OrvFolder::Status status);

    /// Ends the delivery: no further call of the closure. Destroys it unless it is at work.
    ///
    /// Threading: main thread.
    void close();

    /// Threading: any.
    [[nodiscard]] bool is_closed() const { return is_closed_; }

private:
    void take(OrvFolder::Status status);

    // One is in preparation during the delivery of the other. More of them would fall into one turn
    // of the application's loop.
    static constexpr int most_on_their_way = 2;

    std::counting_semaphore<most_on_their_way> room_{most_on_their_way};
    std::atomic<bool> is_closed_ = false; // set on the main thread only
    // Main thread only.
    OrvFolder::StatusClosure closure_;
    std::deque<OrvFolder::Status> waiting_;
    bool is_delivering_ = false;
};

} // namespace orv
