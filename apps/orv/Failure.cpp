#include "Failure.hpp"

#include "Terminal.hpp"
#include "Text.hpp"

#include <cctype>
#include <string>
#include <string_view>

namespace orv::app {
namespace {

/// The words of `sentence` in one line, without the full stop.
std::string folded(std::string_view sentence)
{
    std::string line;
    for (const char c : sentence) {
        const bool is_space = std::isspace(static_cast<unsigned char>(c)) != 0;
        if (!is_space)
            line += c;
        else if (!line.empty() && line.back() != ' ')
            line += ' ';
    }
    while (line.ends_with(' ') || line.ends_with('.'))
        line.pop_back();
    return line;
}

bool says(const std::string& line, const std::string& text)
{
    return line.find(text) != std::string::npos;
}

} // namespace

Error told_of(const Url& path, const Error& error)
{
    return error.path() ? error : error.at(path);
}

void print_failure(const Error& error)
{
    std::string line = "orv: " + printable(folded(error.sentence()));
    const std::string path = error.path() ? printable(error.path()->path()) : "";
    for (const std::string& part : {path, printable(folded(error.reason()))})
        if (!says(line, part))
            line.append(": ").append(part);
    erase_line();
    write_message(line + "\n");
}

} // namespace orv::app
