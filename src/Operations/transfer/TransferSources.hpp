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

/// One of the items that a transfer was asked for.
struct TransferSource {
    std::size_t index; ///< in the plan
    Url url;           ///< with the links among its folders resolved
    std::string new_name;
    std::optional<Error> refusal = {}; ///< why it cannot be transferred
};

/// Refuses a plan that asks for the impossible.
///
/// Errors: "Destination folder doesn't exist."; "Destination url must point to a folder."; that a
/// source is no item that can be named; that one name is given to several sources, or is none.
void check_plan(const TransferPlan& plan);

/// The sources of the plan, which go into `folder`, a location without links. Refused are a folder
/// that the destination is or lies in, and a second item of a name that would replace the first.
[[nodiscard]] std::vector<TransferSource> sources_of(const TransferPlan& plan, const Url& folder);

/// What a transfer holds: its sources, and their names at the destination.
[[nodiscard]] std::vector<LockType>
locks_of(const TransferPlan& plan, const std::vector<TransferSource>& sources, const Url& folder);

} // namespace orv
