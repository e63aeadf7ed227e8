#include "support/Tree.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace orv::test {
namespace fs = std::filesystem;

void write_file(const Url& url, std::string_view content)
{
    fs::create_directories(url.deleting_last_path_component());
    std::ofstream(fs::path(url), std::ios::binary) << content;
}

std::string read_file(const Url& url)
{
    std::ifstream file(fs::path(url), std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return std::move(content).str();
}

void make_tree(const Url& root, const std::vector<std::string>& entries)
{
    fs::create_directories(root);
    for (const std::string& entry : entries) {
        if (const auto arrow = entry.find("->"); arrow != std::string::npos) {
            const Url link = root.appending(entry.substr(0, arrow));
            fs::create_directories(link.deleting_last_path_component());
            fs::create_symlink(entry.substr(arrow + 2), link);
        } else if (const auto equals = entry.find('='); equals != std::string::npos) {
            write_file(root.appending(entry.substr(0, equals)), entry.substr(equals + 1));
        } else {
            fs::create_directories(root.appending(entry));
        }
    }
}

std::vector<std::string> tree(const Url& root)
{
    std::vector<std::string> entries;
    if (!fs::is_directory(fs::symlink_status(root)))
        return entries;
    for (const auto& item : fs::recursive_directory_iterator(root)) {
        const std::string name = item.path().lexically_relative(root).native();
        if (item.is_symlink())
            entries.push_back(name + "->" + fs::read_symlink(item.path()).native());
        else if (item.is_directory())
            entries.push_back(name + "/");
        else if (item.is_regular_file())
            entries.push_back(name + "=" + read_file(item.path()));
        else
            entries.push_back(name + "|");
    }
    std::sort(entries.begin(), entries.end());
    return entries;
}

} // namespace orv::test
