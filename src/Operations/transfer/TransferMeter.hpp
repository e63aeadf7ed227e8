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

    /// Adds to the totals.
    void expect(std::int64_t items, std::int64_t bytes);

    /// The transfer has come to the item.
    ///
    /// Cancel: throws `Exception`, as the functions below do.
    void begin(const Url& item);

    /// Adds to the item's finished bytes.
    void add_bytes(std::int64_t bytes);

    /// Ends the item, done or left out, with this many bytes in all.
    void end_item(std::int64_t bytes);

    /// Adds to the finished items and bytes.
    void add(std::int64_t items, std::int64_t bytes);

    /// Reports that all is done.
    void complete();

    /// Reports the progress now, however recent the last report is.
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
