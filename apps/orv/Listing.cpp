#include "Listing.hpp"

#include "HumanText.hpp"
#include "Json.hpp"
#include "Names.hpp"

#include <orv/utility/FunctionRef.hpp>

#include <algorithm>
#include <array>
#include <climits>
#include <future>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv::app {
namespace {

/// For an item of a walk, its relative path; its name is the end of it.
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

std::string size_text(std::optional<std::int64_t> size)
{
    return size ? fmt::format_int(*size).str() : "-";
}

std::size_t width_of_sizes(const ItemList& items)
{
    std::int64_t largest = 0;
    for (std::size_t i = 0; i < items.size(); ++i)
        largest = std::max(largest, items.size_of(i).value_or(0));
    return size_text(largest).size();
}

/// Mode, size, date, name, where a link points, attributes.
std::string details(const ItemList& items, std::size_t index, std::size_t size_width,
                    const Names& shown)
{
    const auto date = items.modification_date(index);
    std::string line = fmt::format(
        "{}  {:>{}}  {:16}  {}", mode_text(items.mode(index)), size_text(items.size_of(index)),
        size_width, date ? local_date(*date) : "-", shown(items.relative_path(index)));
    if (S_ISLNK(items.mode(index)))
        line.append(" -> ").append(shown(link_target(items[index].url)));
    if (const CustomAttributes* attributes = items.attributes(index))
        if (const std::string text = marks(*attributes); !text.empty())
            line.append("  [").append(text).append("]");
    return line.append(1, '\n');
}

/// Writes the line of each of `count` items. A second thread makes every other block of a long
/// list: neighbours in its order lie far apart in memory, and the lines take longer than the sort.
void write_lines(LargeOutput& output, std::size_t count,
                 FunctionRef<std::string(std::size_t index)> line)
{
    constexpr std::size_t block = 8192; // some 5 ms
    const auto block_at = [&](std::size_t begin) {
        std::string text;
        for (std::size_t i = begin; i < std::min(begin + block, count); ++i)
            text += line(i);
        return text;
    };
    for (std::size_t i = 0; i < count; i += 2 * block) {
        std::future<std::string> second;
        if (i + block < count)
            second = std::async(block_at, i + block); // here, if there is no thread to be had
        output.write(block_at(i));
        if (second.valid())
            output.write(second.get());
    }
}

void write_details(LargeOutput& output, const ItemList& items)
{
    const Names shown;
    const std::size_t size_width = width_of_sizes(items);
    write_lines(output, items.size(),
                [&](std::size_t i) { return details(items, i, size_width, shown); });
}

void write_names(LargeOutput& output, const ItemList& items)
{
    const Names shown;
    write_lines(output, items.size(),
                [&](std::size_t i) { return shown(items.relative_path(i)).append(1, '\n'); });
}

void write_json(LargeOutput& output, const ItemList& items)
{
    ItemStream stream(output, ItemStream::Form::json);
    constexpr std::size_t at_a_time = 256; // keeps few whole items in memory
    std::vector<FileItem> some;
    for (std::size_t i = 0; i < items.size(); ++i) {
        some.push_back(items[i]);
        if (some.size() < at_a_time && i + 1 < items.size())
            continue;
        stream.write(some);
        some.clear();
    }
    stream.finish();
}

} // namespace

void write_listing(LargeOutput& output, const ItemList& items, ListCommand::Form form)
{
    switch (form) {
    case ListCommand::Form::names:
        return write_names(output, items);
    case ListCommand::Form::details:
        return write_details(output, items);
    case ListCommand::Form::json:
        return write_json(output, items);
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
