#include "HumanText.hpp"

#include <array>
#include <ctime>
#include <string_view>

#include <fmt/format.h>

namespace orv::app {
namespace {

std::string day(const std::tm& time)
{
    return fmt::format("{:04}-{:02}-{:02}", time.tm_year + 1900, time.tm_mon + 1, time.tm_mday);
}

} // namespace

std::string human_size(double bytes)
{
    constexpr std::array<std::string_view, 6> units{"kB", "MB", "GB", "TB", "PB", "EB"};
    if (bytes < 1000)
        return fmt::format("{:.0f} B", bytes);
    std::size_t unit = 0;
    // 1000.0 after rounding moves on to the next unit.
    for (bytes /= 1000; bytes >= 999.95 && unit + 1 < units.size(); bytes /= 1000)
        ++unit;
    return fmt::format("{:.1f} {}", bytes, units.at(unit));
}

std::string human_duration(std::chrono::seconds duration)
{
    const auto seconds = duration.count();
    if (seconds < 3600)
        return fmt::format("{}:{:02}", seconds / 60, seconds % 60);
    return fmt::format("{}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60);
}

std::string local_date(FileItem::Date date)
{
    const std::time_t seconds =
        std::chrono::floor<std::chrono::seconds>(date).time_since_epoch().count();
    std::tm time{};
    ::localtime_r(&seconds, &time);
    return fmt::format("{} {:02}:{:02}", day(time), time.tm_hour, time.tm_min);
}

std::string utc_date(FileItem::Date date)
{
    const auto whole = std::chrono::floor<std::chrono::seconds>(date);
    const std::time_t seconds = whole.time_since_epoch().count();
    std::tm time{};
    ::gmtime_r(&seconds, &time);
    return fmt::format("{}T{:02}:{:02}:{:02}.{:09}Z", day(time), time.tm_hour, time.tm_min,
                       time.tm_sec, (date - whole).count());
}

} // namespace orv::app
