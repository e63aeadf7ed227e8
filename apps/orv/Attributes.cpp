#include "Commands.hpp"
#include "Failure.hpp"
#include "Json.hpp"
#include "LargeOutput.hpp"
#include "Waiting.hpp"

#include <orv/orv.hpp>

#include <fmt/format.h>

namespace orv::app {
namespace {

/// The item at `path` with its stored attributes.
FileItem item_at(const std::string& path)
{
    const Url url(path);
    if (!OrvFileManager::singleton().file_exists(url))
        throw Error("The item doesn't exist.").at(url);
    std::vector<FileItem> items{FileItem(url)};
    load_all_custom_attrs(items);
    return items.front();
}

std::string on_off(bool on)
{
    return on ? "on" : "off";
}

std::string text(const CustomAttributes& attributes)
{
    return fmt::format("protected: {}\norder: {}\ncustom sorted: {}\n",
                       on_off(attributes.is_protected),
                       attributes.order_no ? fmt::format("{}", *attributes.order_no) : "none",
                       on_off(attributes.is_custom_sorted));
}

void save(const FileItem& item)
{
    const auto status = final_status<SaveAttrOperation>(
        [&](auto closure) { return save_all_custom_attrs({item}, false, std::move(closure)); });
    match(
        status, [](const status::success&) {},
        [&](const status::error& failed) { throw told_of(item.url, failed.error); });
}

} // namespace

void run(const GetAttributesCommand& command, const Surroundings&)
{
    const CustomAttributes attributes = item_at(command.path).custom_attributes;
    LargeOutput output;
    output.write(command.json ? json(attributes) + "\n" : text(attributes));
    output.finish();
}

void run(const SetAttributesCommand& command, const Surroundings&)
{
    FileItem item = item_at(command.path);
    if (command.is_protected)
        item.custom_attributes.is_protected = *command.is_protected;
    if (command.order)
        item.custom_attributes.order_no = command.order->number;
    save(item);
}

} // namespace orv::app
