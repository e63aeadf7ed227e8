#pragma once

#include <orv/orv.hpp>

#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace orv::test {

/// What a status says, in one line: "progress name 0.50", "conflict mergeable name", "preparing",
/// "success", "cancelled", "error: the sentence". A listing names its items, sorted or not as it
/// came; a thumbnail is "success 20x10" or "placeholder 20x10".
[[nodiscard]] std::string text_of(const status::success& status);
[[nodiscard]] std::string text_of(const status::error& status);
[[nodiscard]] std::string text_of(const status::cancelled& status);
[[nodiscard]] std::string text_of(const status::preparing& status);
[[nodiscard]] std::string text_of(const status::progress<CopyProgress>& status);
[[nodiscard]] std::string text_of(const status::progress<GeneralProgress>& status);
[[nodiscard]] std::string text_of(const status::conflict_occured& status);
[[nodiscard]] std::string text_of(const NewFolderOperation::error& status);
[[nodiscard]] std::string text_of(const FolderSizeOperation::success& status);
[[nodiscard]] std::string text_of(const FetchItemsOperation::success& status);
[[nodiscard]] std::string text_of(const MoveToTrashOperation::success& status);
[[nodiscard]] std::string text_of(const FetchTrashedOperation::success& status);
[[nodiscard]] std::string text_of(const RestoreOperation::success& status);
[[nodiscard]] std::string text_of(const EmptyTrashOperation::success& status);
[[nodiscard]] std::string text_of(const ReserveFileUrlOpr::success& status);
[[nodiscard]] std::string text_of(const FetchByAttrOperation::success& status);
[[nodiscard]] std::string text_of(const SearchItemsOperation::currently_fetched& status);
[[nodiscard]] std::string text_of(const SearchItemsOperation::completed& status);
[[nodiscard]] std::string text_of(const ThumbGenerateOpr::success& status);

template <class... Cases>
std::string text_of(const std::variant<Cases...>& status)
{
    return std::visit([](const auto& its_case) { return text_of(its_case); }, status);
}

template <class Status>
std::vector<std::string> texts_of(const std::vector<Status>& statuses)
{
    std::vector<std::string> texts;
    for (const Status& status : statuses)
        texts.push_back(text_of(status));
    return texts;
}

/// Whether nothing follows the status.
template <class... Cases>
bool is_final(const std::variant<Cases...>& status)
{
    const std::string text = text_of(status);
    return !text.starts_with("progress ") && !text.starts_with("conflict ") &&
           !text.starts_with("fetched") && text != "preparing";
}

/// Answers the question, if the status is one.
template <class... Cases>
void answer(const std::variant<Cases...>& status, ConflictBehaviour behaviour)
{
    if (const auto* conflict = std::get_if<status::conflict_occured>(&status))
        conflict->resolver->resume(behaviour, false);
}

} // namespace orv::test
