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

/// The search below a folder for items with a keyword in their name or content. Case does not
/// count, by the rules of the user's language; composed and decomposed letters match.
///
/// The content of a file is text in UTF-8, in UTF-16 after a byte-order mark, or else in Latin-1.
/// Only regular files have content to search. Nothing matches in an unreadable file, and an empty
/// keyword matches nothing.
///
/// A cancel ends it without `completed`. Items from earlier statuses stay valid.
class SearchItemsOperation final : public OrvOperation {
public:
    /// The places to look for the keyword in.
    enum class Criteria { file_name, file_content };

    /// The items found since the last status; about twice a second during the search.
    struct currently_fetched {
        std::vector<FileItem> items;
    };

    /// All items found, in the order of the walk.
    struct completed {
        std::vector<FileItem> all_items;
    };

    using Status = std::variant<currently_fetched, completed, status::error, status::cancelled>;
    /// Hands over the status itself, to spare a copy of a long list.
    using StatusClosure = std::function<void(Status)>;
};

} // namespace orv

#pragma pop_macro("Status")
