#pragma once

#include <orv/Operations/NewFolderOpr.hpp>

#include <memory>

namespace orv {

/// Starts the creation of a folder.
std::shared_ptr<NewFolderOperation> new_folder(Url at, bool also_create_intermediates,
                                               NewFolderOperation::StatusClosure status_closure);

} // namespace orv
