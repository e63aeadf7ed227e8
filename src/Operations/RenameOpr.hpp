#pragma once

#include <orv/Operations/RenameOpr.hpp>
#include <orv/utility/Url.hpp>

#include <memory>
#include <string>

namespace orv {

/// Starts the renaming of the item at `url` to `new_name`.
std::shared_ptr<RenameOperation> rename_item(Url url, std::string new_name,
                                             RenameOperation::StatusClosure status_closure);

} // namespace orv
