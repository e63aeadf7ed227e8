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
    /// Hands over the status itself, to spare a copy of a long list.
    using StatusClosure = std::function<void(Status)>;
};

/// Does nothing. A call proves that the program links the library.
void exp_from_orv_file_management();

/// Prints the contents of one fixed demonstration folder to standard output, at every depth,
/// without hidden items: a line for each with relative path and size, then the total.
///
/// Threading: any.
void exp_get_content_of_directory();

} // namespace orv

#pragma pop_macro("Status")
