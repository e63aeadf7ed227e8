#include "Listing.hpp"

#include "HumanText.hpp"
#include "Json.hpp"
#include "Names.hpp"

#include <algorithm>
#include <array>
#include <climits>
#include <string>

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv::app {
namespace {

/// Of an item that was found in a walk, the way to it; its name is the end of it.
const std::string& name_of(const FileItem& item)
{
    return item.relative_path.empty() ? item.name : item.relative_path;
}

char type_letter(mode_t mode)
{
    switch (mode & S_IFMT) {
    case S_IFDIR:
        return 'd';
    case S_IFLNK:
        return 'l';
    case S_IFIFO:
        return 'p';
    case S_IFSOCK:
        return 's';
    case S_IFCHR:
        return 'c';
    case S_IFBLK:
        return 'b';
    default:
        return '-';
    }
}

/// Such as "drwxr-xr-x".
std::string mode_text(mode_t mode)
{
    if (mode == 0)
        return "?---------";
    std::string text(1, type_letter(mode));
    constexpr std::string_view letters = "rwxrwxrwx";
    for (std::size_t i = 0; i < letters.size(); ++i)
        text += (mode >> (letters.size() - 1 - i) & 1) != 0 ? letters[i] : '-';
    return text;
}

/// Such as "protected, #3".
std::string marks(const CustomAttributes& attributes)
{
    std::string text;
    const auto add = [&](const std::string& mark) {
        text.append(text.empty() ? "" : ", ").append(mark);
    };
    if (attributes.is_protected)
        add("protected");
    if (attributes.order_no)
        add(fmt::format("#{}", *attributes.order_no));
    if (attributes.is_custom_sorted)
        add("custom sorted");
    return text;
}

std::string link_target(const Url& url)
{
    std::array<char, PATH_MAX> target{};
    const ssize_t length = ::readlink(url.path().c_str(), target.data(), target.size());
    return {target.data(), length < 0 ? 0 : static_cast<std::size_t>(length)};
}

std::string size_text(const FileItem& item)
{
    return item.size ? fmt::format("{}", *item.size) : "-";
}

std::size_t width_of_sizes(const std::vector<FileItem>& items)
{
    std::size_t width = 1;
    for (const FileItem& item : items)
        width = std::max(width, size_text(item).size());
    return width;
}

/// Mode, size, date, name, where a link points, attributes.
std::string details(const FileItem& item, std::size_t size_width, const Names& shown)
{
    std::string line = fmt::format(
        "{}  {:>{}}  {:16}  {}", mode_text(item.mode), size_text(item), size_width,
        item.modification_date ? local_date(*item.modification_date) : "-", shown(name_of(item)));
    if (S_ISLNK(item.mode))
        line.append(" -> ").append(shown(link_target(item.url)));
    if (const std::string text = marks(item.custom_attributes); !text.empty())
        line.append("  [").append(text).append("]");
    return line;
}

void write_details(LargeOutput& output, const std::vector<FileItem>& items)
{
    const Names shown;
    const std::size_t size_width = width_of_sizes(items);
    for (const FileItem& item : items)
        output.write(details(item, size_width, shown) + "\n");
}

void write_all(LargeOutput& output, const std::vector<FileItem>& items, ItemStream::Form form)
{
    ItemStream stream(output, form);
    stream.write(items);
    stream.finish();
}

} // namespace

void write_listing(LargeOutput& output, const std::vector<FileItem>& items, ListCommand::Form form)
{
    switch (form) {
    case ListCommand::Form::names:
        return write_all(output, items, ItemStream::Form::ways);
    case ListCommand::Form::details:
        return write_details(output, items);
    case ListCommand::Form::json:
        return write_all(output, items, ItemStream::Form::json);
    }
}

void ItemStream::write(std::span<const FileItem> items)
{
    const Names shown;
    for (const FileItem& item : items) {
        if (form_ == Form::json)
            output_.write((is_empty_ ? "[" : ",\n") + json(item));
        else
            output_.write(shown(form_ == Form::paths ? item.url.path() : name_of(item)) + "\n");
        is_empty_ = false;
    }
}

void ItemStream::finish()
{
    if (form_ == Form::json)
        output_.write(is_empty_ ? "[]\n" : "]\n");
    output_.finish();
}

} // namespace orv::app
