#include "Json.hpp"

#include "HumanText.hpp"
#include "Text.hpp"

#include <fmt/format.h>

namespace orv::app {
namespace {

std::string json(std::optional<std::int64_t> number)
{
    return number ? fmt::format("{}", *number) : "null";
}

std::string json(const std::optional<FileItem::Date>& date)
{
    return date ? json_string(utc_date(*date)) : "null";
}

std::string json(const Url& url)
{
    return json_string(url.description());
}

void append_character(std::string& text, std::string_view bytes, const Character& character)
{
    if (!character.code_point)
        text += fmt::format("\\udc{:02x}", static_cast<unsigned char>(bytes[0]));
    else if (is_control(*character.code_point))
        text += fmt::format("\\u{:04x}", static_cast<unsigned>(*character.code_point));
    else
        text += bytes.substr(0, character.length);
}

} // namespace

std::string json_string(std::string_view bytes)
{
    std::string text = "\"";
    while (!bytes.empty()) {
        const Character next = first_character(bytes);
        if (bytes[0] == '"' || bytes[0] == '\\')
            text += '\\';
        append_character(text, bytes, next);
        bytes.remove_prefix(next.length);
    }
    return text + "\"";
}

std::string json(const FileItem& item)
{
    return fmt::format(
        R"({{"url": {}, "is_dir": {}, "level": {}, "relative_path": {}, "size": {}, "name": {}, )"
        R"("title": {}, "ext": {}, "creation_date": {}, "modification_date": {}, )"
        R"("is_package": {}, "is_hidden": {}, "custom_attributes": {}}})",
        json(item.url), item.is_dir, item.level, json_string(item.relative_path), json(item.size),
        json_string(item.name), json_string(item.title), json_string(item.ext),
        json(item.creation_date), json(item.modification_date), item.is_package, item.is_hidden,
        json(item.custom_attributes));
}

std::string json(const CustomAttributes& attributes)
{
    return fmt::format(
        R"({{"url": {}, "is_protected": {}, "order_no": {}, "is_custom_sorted": {}, )"
        R"("was_custom_sorted_at_least_once": {}}})",
        json(attributes.url), attributes.is_protected, json(attributes.order_no),
        attributes.is_custom_sorted, attributes.was_custom_sorted_at_least_once);
}

std::string json(const TrashedItem& item)
{
    return fmt::format(
        R"({{"url": {}, "original_url": {}, "deletion_date": {}, "is_dir": {}, "size": {}}})",
        json(item.url), item.original_url.empty() ? "null" : json(item.original_url),
        json(std::optional<FileItem::Date>(item.deletion_date)), item.is_dir, json(item.size));
}

} // namespace orv::app
