#pragma once

#include "Operations/frame/FinalCases.hpp"
#include "Operations/frame/Request.hpp"

#include <orv/Operations/TransferOpr.hpp>

namespace orv {

// A transfer has final cases of its own, since each of them comes with a report.
template <>
struct IsFinalCase<TransferOperation::question> : std::false_type {
};
template <>
struct IsFinalCase<TransferOperation::finishing> : std::false_type {
};
template <>
struct IsFinalCase<TransferOperation::success> : std::true_type {
};
template <>
struct IsFinalCase<TransferOperation::error> : std::true_type {
};
template <>
struct IsFinalCase<TransferOperation::cancelled> : std::true_type {
};

template <>
inline TransferOperation::Status error_status<TransferOperation>(const Error& error)
{
    return TransferOperation::error{error};
}

using TransferRequest = Request<TransferOperation>;

} // namespace orv
