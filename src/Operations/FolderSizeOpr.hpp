#pragma once

#include <orv/Operations/FolderSizeOpr.hpp>
#include <orv/utility/FunctionRef.hpp>

#include <cstdint>
#include <memory>

namespace orv {

/// Starts the measuring of the folder at `url`.
std::shared_ptr<FolderSizeOperation>
calc_folder_size(Url url, FolderSizeOperation::StatusClosure status_closure);

/// What a tree holds.
struct TreeSize {
    std::int64_t bytes = 0;
    std::int64_t items = 0;

    /// A sum of bytes that is too large stays at the largest.
    TreeSize& operator+=(const TreeSize& other);
};

/// The size of what lies in the folder at `url`, as the operation measures it. `check_cancelled` is
/// called for each item; what it throws ends the measuring.
///
/// Threading: background.
/// Errors: those of the operation, but the platform's when the folder cannot be opened.
TreeSize folder_size(const Url& url, FunctionRef<void()> check_cancelled);

/// The size of what is to be copied from `url`, the item itself included. The bytes of what is no
/// folder are 0 where they cannot be told.
TreeSize item_size(const Url& url, FunctionRef<void()> check_cancelled);

} // namespace orv
