#include "CustomAttributes/RecCustomAttr.hpp"

#include <orv/Misc/FileItem.hpp>

namespace orv {
namespace {

/// Resolves the links in the locations of items, those of their folder once for all neighbours.
class LinkResolver {
public:
    Url resolved(const FileItem& item)
    {
        const std::string name = item.url.last_path_component();
        const bool is_known_to_be_no_link = item.is_dir || item.size;
        if (!is_known_to_be_no_link || name == "/" || name == "." || name == "..")
            return item.url.resolving_symlinks();

        const Url folder = item.url.deleting_last_path_component();
        if (folder != folder_ || folder.empty()) {
            resolved_folder_ = folder.resolving_symlinks();
            folder_ = folder;
        }
        return resolved_folder_.appending(name);
    }

private:
    Url folder_;
    Url resolved_folder_;
};

} // namespace

void load_all_custom_attrs(std::vector<FileItem>& items)
{
    if (!RecCustomAttr::any_records())
        return;
    std::vector<Url> urls;
    urls.reserve(items.size());
    for (const FileItem& item : items)
        urls.push_back(item.url);
    const auto stored = CustomAttributes::fetch_all(urls);
    if (stored.empty())
        return;

    LinkResolver links;
    for (FileItem& item : items)
        if (const auto found = stored.find(links.resolved(item)); found != stored.end())
            item.custom_attributes = found->second;
}

void sync_save_all_custom_attrs(const std::vector<FileItem>& items, bool auto_update_order_numbers)
{
    std::vector<CustomAttributes> attributes;
    attributes.reserve(items.size());
    for (const FileItem& item : items)
        attributes.push_back(item.custom_attributes);
    save_all(attributes, auto_update_order_numbers);
}

} // namespace orv
