#pragma once

#include "Operations/transfer/TransferRequest.hpp"
#include "utility/StopWatch.hpp"

#include <orv/Operations/TransferOpr.hpp>

#include <cstdint>

namespace orv {

/// How far a transfer has come; tells the caller about ten times a second.
///
/// Threading: background. Telling waits for the caller.
class TransferMeter {
public:
    explicit TransferMeter(TransferRequest& request) : request_(request) {}

    /// Adds to what is to be done.
    void expect(std::int64_t items, std::int64_t bytes);

    /// The transfer has come to the item.
    ///
    /// Cancel: throws `Exception`, as all that follow.
    void begin(const Url& item);

    /// Of the bytes of the item, so many more are done.
    void add_bytes(std::int64_t bytes);

    /// The item is done, or left out, with this many bytes in all.
    void end_item(std::int64_t bytes);

    /// So many more items and bytes are done.
    void add(std::int64_t items, std::int64_t bytes);

    /// Tells that all is done.
    void complete();

    /// Tells how far the transfer has come, however short ago it was told.
    void tell();

private:
    void count(std::int64_t items, std::int64_t bytes);
    void tell_if_due();

    TransferRequest& request_;
    TransferProgress progress_;
    std::int64_t bytes_of_item_ = 0;
    bool was_told_ = false;
    StopWatch since_told_;
};

} // namespace orv
