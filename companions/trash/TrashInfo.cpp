#include "trash/TrashInfo.hpp"

#include "utility/PercentEncoding.hpp"

#include <array>
#include <ctime>

namespace orv {
namespace {

constexpr std::string_view header = "[Trash Info]";
constexpr const char* date_format = "%Y-%m-%dT%H:%M:%S";

std::string local_text(TrashInfo::Date date)
{
    const std::time_t seconds = date.time_since_epoch().count();
    std::tm parts{};
    std::array<char, 32> text{};
    if (!::localtime_r(&seconds, &parts))
        return {};
    return {text.data(), std::strftime(text.data(), text.size(), date_format, &parts)};
}

std::optional<TrashInfo::Date> date_in(const std::string& text)
{
    std::tm parts{};
    if (!::strptime(text.c_str(), date_format, &parts))
        return std::nullopt;
    parts.tm_isdst = -1; // the text does not tell
    const std::time_t seconds = std::mktime(&parts);
    if (seconds == -1)
        return std::nullopt;
    return TrashInfo::Date(std::chrono::seconds(seconds));
}

/// Takes the first line from `text`, without its end.
std::string_view next_line(std::string_view& text)
{
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    return line;
}

} // namespace

std::string TrashInfo::text() const
{
    std::string text(header);
    text.append("\nPath=").append(percent_encoded(path, "-._~/"));
    if (date)
        text.append("\nDeletionDate=").append(local_text(*date));
    return text.append("\n");
}

std::optional<TrashInfo> TrashInfo::parsed(std::string_view text)
{
    if (next_line(text) != header)
        return std::nullopt;
    TrashInfo info;
    // Of two lines with one key the first counts.
    while (!text.empty()) {
        const std::string_view line = next_line(text);
        const std::string_view value = line.substr(line.find('=') + 1);
        if (line.starts_with("Path=") && info.path.empty())
            info.path = percent_decoded(value).value_or("");
        else if (line.starts_with("DeletionDate=") && !info.date)
            info.date = date_in(std::string(value));
    }
    if (info.path.empty() || info.path.find('\0') != std::string::npos)
        return std::nullopt;
    return info;
}

} // namespace orv
