#pragma once

#include "Operations/transfer/TransferFinish.hpp"
#include "Operations/transfer/TransferLog.hpp"
#include "Operations/transfer/TransferMeter.hpp"
#include "Operations/transfer/TransferQuestions.hpp"
#include "Operations/transfer/TransferRequest.hpp"
#include "Operations/transfer/TransferSources.hpp"

#include <orv/Operations/TransferOpr.hpp>
#include <orv/utility/Error.hpp>

#include <map>
#include <string>

namespace orv {

/// State shared by the parts of one transfer.
struct TransferRun {
    TransferRequest& request;
    const TransferPlan& plan;
    Url folder; ///< the destination, links resolved
    TransferFinish finish;
    TransferQuestions questions;
    TransferLog log;
    TransferMeter meter;
    /// Items left out, and why.
    std::map<std::string, Error> refused = {};

    [[nodiscard]] const Error* refusal_of(const Url& item) const
    {
        const auto found = refused.empty() ? refused.end() : refused.find(item.path());
        return found == refused.end() ? nullptr : &found->second;
    }
};

} // namespace orv
