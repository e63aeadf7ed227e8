#pragma once

#include "Operations/frame/UrlLocker.hpp"

#include <orv/Operations/TransferOpr.hpp>
#include <orv/utility/Error.hpp>
#include <orv/utility/Url.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace orv {

/// One of the requested items of a transfer.
struct TransferSource {
    std::size_t index; ///< in the plan
    Url url;           ///< with the links among its folders resolved
    std::string new_name;
    std::optional<Error> refusal = {}; ///< the reason it cannot be transferred
};

/// Refuses an impossible plan.
///
/// Errors: "Destination folder doesn't exist."; "Destination url must point to a folder."; an error
/// for a source without a name; one for a name given to several sources, or one that is no name.
void check_plan(const TransferPlan& plan);

/// The sources of the plan for `folder`, a location without links. Refuses a folder around the
/// destination, or the destination itself, and a second item of a name that would replace the
/// first.
[[nodiscard]] std::vector<TransferSource> sources_of(const TransferPlan& plan, const Url& folder);

/// The locks of a transfer: its sources, and their names at the destination.
[[nodiscard]] std::vector<LockType>
locks_of(const TransferPlan& plan, const std::vector<TransferSource>& sources, const Url& folder);

} // namespace orv
