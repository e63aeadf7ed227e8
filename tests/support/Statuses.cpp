#include "support/Statuses.hpp"

#include <array>
#include <cstdio>

namespace orv::test {
namespace {

std::string two_decimals(float value)
{
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%.2f", static_cast<double>(value));
    return text.data();
}

std::string named(std::string text, const std::vector<FileItem>& items)
{
    for (const FileItem& item : items)
        text += " " + item.relative_path;
    return text;
}

std::string originals(std::string text, const std::vector<TrashedItem>& items)
{
    for (const TrashedItem& item : items)
        text += " " + item.original_url.last_path_component();
    return text;
}

} // namespace

std::string text_of(const status::success&)
{
    return "success";
}

std::string text_of(const status::error& status)
{
    return "error: " + status.error.sentence();
}

std::string text_of(const status::cancelled&)
{
    return "cancelled";
}

std::string text_of(const status::preparing&)
{
    return "preparing";
}

std::string text_of(const status::progress<CopyProgress>& status)
{
    return "progress " + status.record.item_name + (status.record.is_item_dir ? "/ " : " ") +
           two_decimals(status.record.value);
}

std::string text_of(const status::progress<GeneralProgress>& status)
{
    return "progress " + status.record.current_item.last_path_component() + " " +
           two_decimals(status.record.value);
}

std::string text_of(const status::conflict_occured& status)
{
    const bool mergeable = status.resolver->is_conflict_mergeable();
    return std::string("conflict ") + (mergeable ? "mergeable " : "") +
           status.resolver->destination_url().last_path_component();
}

std::string text_of(const NewFolderOperation::error& status)
{
    return match(
        status.error,
        [](const NewFolderOperation::other& other) { return "error: " + other.error.sentence(); },
        [](const NewFolderOperation::item_already_exists&) {
            return std::string("item_already_exists");
        });
}

std::string text_of(const FolderSizeOperation::success& status)
{
    return "success " + std::to_string(status.folder_size);
}

std::string text_of(const FetchItemsOperation::success& status)
{
    return named("success", status.content);
}

std::string text_of(const FetchByAttrOperation::success& status)
{
    std::string text = "success";
    for (const FileItem& item : status.content)
        text += " " + item.name;
    return text;
}

std::string text_of(const SearchItemsOperation::currently_fetched& status)
{
    return named("fetched", status.items);
}

std::string text_of(const SearchItemsOperation::completed& status)
{
    return named("completed", status.all_items);
}

std::string text_of(const ThumbGenerateOpr::success& status)
{
    return (status.is_placeholder ? "placeholder " : "success ") +
           std::to_string(status.thumb.width()) + "x" + std::to_string(status.thumb.height());
}

std::string text_of(const MoveToTrashOperation::success& status)
{
    return originals("success", status.items);
}

std::string text_of(const FetchTrashedOperation::success& status)
{
    return originals("success", status.items);
}

std::string text_of(const RestoreOperation::success& status)
{
    std::string text = "success";
    for (const Url& url : status.urls)
        text += " " + url.last_path_component();
    return text;
}

std::string text_of(const EmptyTrashOperation::success& status)
{
    return "success " + std::to_string(status.count);
}

std::string text_of(const ReserveFileUrlOpr::success& status)
{
    return "success " + status.final_url.last_path_component();
}

} // namespace orv::test
