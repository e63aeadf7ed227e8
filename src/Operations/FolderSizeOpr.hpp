#pragma once

#include <orv/Operations/FolderSizeOpr.hpp>
#include <orv/utility/FunctionRef.hpp>

#include <memory>

namespace orv {

/// Starts the measuring of the folder at `url`.
std::shared_ptr<FolderSizeOperation>
calc_folder_size(Url url, FolderSizeOperation::StatusClosure status_closure);

/// The size of the folder at `url`, as the operation measures it. `check_cancelled` is called now
/// and then; what it throws ends the measuring.
///
/// Threading: background.
/// Errors: those of the operation, but the platform's when the folder cannot be opened.
/// Units: bytes.
std::int64_t folder_size(const Url& url, FunctionRef<void()> check_cancelled);

/// The size of what is to be copied from `url`: a folder's as above, else that of the item itself,
/// or 0 where it cannot be told.
std::int64_t item_size(const Url& url, FunctionRef<void()> check_cancelled);

} // namespace orv
