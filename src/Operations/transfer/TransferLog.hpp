#pragma once

#include "Operations/frame/Tally.hpp"

#include <orv/Operations/TransferOpr.hpp>

#include <cstddef>
#include <set>
#include <string>

namespace orv {

/// The outcome of a transfer's items, for its report.
///
/// Threading: one background thread.
class TransferLog {
public:
    using Outcome = TransferReport::Outcome;

    TransferLog(const std::vector<Url>& sources, Tally& tally);

    /// A source that is a folder has its place at `destination`, and its contents follow.
    void begin(std::size_t source, const Url& destination);

    /// The source has come to its end, with something of it at `destination` if given.
    void end(std::size_t source, Outcome outcome, std::optional<Url> destination = {});

    /// An item of the source, or the source itself, was left out: because of `error` or, without
    /// one, because its name is taken. The outcome of the source is still to come.
    void leave_out(std::size_t source, const Url& item, std::optional<Error> error);

    /// The same for a failure at the end, with all of the source in place.
    void fail_late(std::size_t source, const Url& item, const Error& error);

    /// True if an item below `folder` was left out.
    [[nodiscard]] bool has_left_out_below(const Url& folder) const;

    /// True if an item of the source was left out.
    [[nodiscard]] bool is_partly_done(std::size_t source) const;

    [[nodiscard]] TransferReport take() { return std::move(report_); }

private:
    Tally& tally_;
    TransferReport report_;
    std::set<std::size_t> partly_done_;
    std::set<std::string> left_out_paths_;
};

} // namespace orv
