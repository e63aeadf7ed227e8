#include "files/Note.hpp"

#include <vector>

namespace orv {
namespace {

std::vector<std::string> split(std::string_view text)
{
    std::vector<std::string> parts(1);
    for (const char character : text)
        if (character == '\0')
            parts.emplace_back();
        else
            parts.back() += character;
    return parts;
}

/// A note may lie in a folder others write to. It must not move an item out of its folder.
bool is_plain_name(std::string_view name)
{
    return name.find('/') == std::string_view::npos && name != "." && name != "..";
}

} // namespace

/// The path comes last, so a text cut short names no hidden item.
std::string Note::text() const
{
    std::string text;
    for (const std::string* part :
         {&original_name, &replacement, &volume.mount_point, &volume.identity})
        text.append(*part).append(1, '\0');
    return text + hidden.path();
}

std::optional<Note> Note::parsed(std::string_view text)
{
    const std::vector<std::string> parts = split(text);
    if (parts.size() == 1) // as the first versions wrote them
        return Note{Url(parts[0]), {}, {}, {}};
    if (parts.size() != 5 || !is_plain_name(parts[0]))
        return std::nullopt;
    return Note{Url(parts[4]), parts[0], parts[1], {parts[2], parts[3]}};
}

} // namespace orv
