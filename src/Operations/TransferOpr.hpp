#pragma once

#include <orv/Operations/TransferOpr.hpp>

#include <memory>

namespace orv {

/// Starts the transfer of the items in `plan`.
std::shared_ptr<TransferOperation> transfer(TransferPlan plan,
                                            TransferOperation::StatusClosure status_closure);

} // namespace orv
