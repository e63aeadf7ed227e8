#pragma once

#include <orv/Misc/FileItem.hpp>
#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>

#include <functional>
#include <variant>
#include <vector>

#pragma push_macro("Status") // X11 has one
#undef Status

namespace orv {

/// The listing of a folder, or of the whole tree below it.
///
/// A cancel yields no part of the list.
class FetchItemsOperation final : public OrvOperation {
public:
    struct success {
        std::vector<FileItem> content;
    };

    using Status = std::variant<success, status::error, status::cancelled>;
    /// Is given the status for good, so that a long list need not be copied.
    using StatusClosure = std::function<void(Status)>;
};

/// Does nothing; a program that calls it shows that the library is linked.
void exp_from_orv_file_management();

/// Prints to standard output what lies in the folder "/Volumes/Untitled/1", at every depth and
/// without hidden items: a line for each with its way from the folder and its size, then the total.
///
/// Threading: any.
void exp_get_content_of_directory();

} // namespace orv

#pragma pop_macro("Status")
