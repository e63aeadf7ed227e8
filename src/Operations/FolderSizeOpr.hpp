#pragma once

#include <orv/Operations/FolderSizeOpr.hpp>
#include <orv/utility/FunctionRef.hpp>

#include <cstdint>
#include <memory>

namespace orv {

/// Starts the measuring of the folder at `url`.
std::shared_ptr<FolderSizeOperation>
calc_folder_size(Url url, FolderSizeOperation::StatusClosure status_closure);

/// The contents of a tree in figures.
struct TreeSize {
    std::int64_t bytes = 0;
    std::int64_t items = 0;

    /// A sum of bytes beyond the range stays at its end.
    TreeSize& operator+=(const TreeSize& other);
};

/// The size of the contents of the folder at `url`, as the operation measures it. Calls
/// `check_cancelled` for each item; an exception from it ends the measurement.
///
/// Threading: background.
/// Errors: those of the operation, with the platform's if the folder does not open.
TreeSize folder_size(const Url& url, FunctionRef<void()> check_cancelled);

/// The size of a copy of `url`, the item itself included. A file out of reach counts 0 bytes.
TreeSize item_size(const Url& url, FunctionRef<void()> check_cancelled);

} // namespace orv
