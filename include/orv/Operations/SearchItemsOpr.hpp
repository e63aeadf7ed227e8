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

/// The search for items below a folder whose name or content contains a keyword. Case does not
/// count, by the rules of the user's language, nor whether a letter is composed or decomposed.
///
/// The content of a file is text in UTF-8, in UTF-16 when it begins with the mark of that, or, for
/// bytes that are neither, in Latin-1. Only regular files have one; what cannot be read contains
/// nothing. An empty keyword is found nowhere.
///
/// A cancel ends it without `completed`; what was fetched before stays fetched.
class SearchItemsOperation final : public OrvOperation {
public:
    /// Where the keyword is looked for.
    enum class Criteria { file_name, file_content };

    /// What was found since the last time; told about twice a second while the search goes on.
    struct currently_fetched {
        std::vector<FileItem> items;
    };

    /// All that was found, in the order of the walk.
    struct completed {
        std::vector<FileItem> all_items;
    };

    using Status = std::variant<currently_fetched, completed, status::error, status::cancelled>;
    /// Is given the status for good, so that a long list need not be copied.
    using StatusClosure = std::function<void(Status)>;
};

} // namespace orv

#pragma pop_macro("Status")
