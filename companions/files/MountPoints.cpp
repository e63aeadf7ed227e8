#include "files/MountPoints.hpp"

#include "files/MountedVolume.hpp"

#include <algorithm>
#include <array>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

namespace orv {
namespace {

// Nobody keeps files there, and to look into an automount would mount something.
constexpr std::array<std::string_view, 20> system_kinds{
    "autofs", "binfmt_misc", "bpf",        "cgroup",      "cgroup2", "configfs",  "debugfs",
    "devpts", "devtmpfs",    "efivarfs",   "fuse.portal", "fusectl", "hugetlbfs", "mqueue",
    "nsfs",   "proc",        "rpc_pipefs", "securityfs",  "sysfs",   "tracefs"};

/// The kernel writes spaces, tabs, line ends and backslashes as "\" and three octal digits.
std::string unescaped(const std::string& text)
{
    const auto is_octal = [](char c) { return c >= '0' && c <= '7'; };
    std::string path;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::string_view digits = std::string_view(text).substr(i + 1, 3);
        if (text[i] != '\\' || digits.size() < 3 || !std::ranges::all_of(digits, is_octal)) {
            path += text[i];
            continue;
        }
        path += static_cast<char>((digits[0] - '0') * 64 + (digits[1] - '0') * 8 + digits[2] - '0');
        i += digits.size();
    }
    return path;
}

} // namespace

std::vector<Url> mount_points()
{
    std::vector<Url> points;
    std::ifstream table("/proc/self/mountinfo");
    for (std::string line; std::getline(table, line);) {
        std::istringstream words(line);
        std::string word;
        std::string path;
        for (int column = 1; column <= 5; ++column)
            words >> path;
        while (words >> word && word != "-")
            continue;
        if (words >> word && std::ranges::find(system_kinds, word) == system_kinds.end())
            points.emplace_back(unescaped(path));
    }
    std::ranges::sort(points);
    points.erase(std::unique(points.begin(), points.end()), points.end());
    return points;
}

Url mount_point_of(const Url& url)
{
    Url at = url.resolving_symlinks();
    while (at.path() != "/" && !is_mount_point(at))
        at = at.deleting_last_path_component();
    return at;
}

} // namespace orv
