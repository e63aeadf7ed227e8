#pragma once

#include <orv/Misc/ItemList.hpp>
#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>

#include <functional>
#include <memory>
#include <optional>
#include <variant>

#pragma push_macro("Status") // X11 has one
#undef Status

namespace orv {

/// The listing of a folder, or of the whole tree below it, in little memory: for a million items.
///
/// A cancel yields no part of the list.
class FetchItemListOperation final : public OrvOperation {
public:
    struct success {
        ItemList content;
    };

    using Status = std::variant<success, status::error, status::cancelled>;
    /// Hands over the status itself, to spare a copy of a long list.
    using StatusClosure = std::function<void(Status)>;
};

/// Lists the same items in the same order as `OrvFileManager::fetch_items`.
///
/// Threading: any.
std::shared_ptr<FetchItemListOperation>
fetch_item_list(Url inside, bool recursive, std::optional<SortType> sort, bool include_hidden_files,
                FetchItemListOperation::StatusClosure status_closure);

} // namespace orv

#pragma pop_macro("Status")
