#include "files/FolderCursor.hpp"

#include "files/Flush.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace orv {
namespace {

/// How many bytes both begin with.
std::size_t common_size(std::string_view one, std::string_view other)
{
    if (other.starts_with(one)) // counted many bytes at a time
        return one.size();
    const auto differ = std::mismatch(one.begin(), one.end(), other.begin(), other.end());
    return static_cast<std::size_t>(differ.first - one.begin());
}

} // namespace

FolderCursor::FolderCursor(OpenFolder root, Url url)
    : url_(std::move(url)), has_lasting_identities_(reports_faults(root.descriptor.get())),
      stack_(std::move(root))
{
}

int FolderCursor::go_to(std::string_view path)
{
    go_back_towards(path);
    while (path_.size() < path.size()) {
        const std::size_t start = path_.empty() ? 0 : path_.size() + 1;
        descend(path.substr(start, path.find('/', start) - start));
    }
    return stack_.folder();
}

Url FolderCursor::url_of(std::string_view path) const
{
    return path.empty() ? url_ : url_.appending(path);
}

void FolderCursor::go_back_towards(std::string_view path)
{
    const std::size_t common = common_size(path_, path);
    const auto leads_there = [&](std::size_t size) {
        return size <= common && (path.size() == size || path[size] == '/');
    };
    while (!path_sizes_.empty() && !leads_there(path_sizes_.back())) {
        if (const int code = stack_.leave())
            throw platform_error(code, url_of(path_));
        path_sizes_.pop_back();
        path_.resize(path_sizes_.empty() ? 0 : path_sizes_.back());
    }
}

void FolderCursor::descend(std::string_view name)
{
    const std::size_t above = path_.size();
    path_.append(path_.empty() ? "" : "/").append(name);
    const std::string owned(name);
    OpenFolder folder = open_folder(stack_.folder(), owned.c_str());
    if (folder.error == 0 && !is_as_before(owned, folder))
        folder.error = ESTALE;
    if (folder.error != 0) {
        const Url failed = url_of(path_);
        path_.resize(above);
        throw platform_error(folder.error, failed);
    }
    stack_.enter(std::move(folder));
    path_sizes_.push_back(path_.size());
}

bool FolderCursor::is_as_before(const std::string& name, const OpenFolder& folder)
{
    if (!has_lasting_identities_)
        return true;
    const Identity identity = folder.identity();
    return visited_.try_emplace({stack_.identity(), name}, identity).first->second == identity;
}

std::size_t FolderCursor::Hash::operator()(const Step& step) const
{
    constexpr std::size_t spread = 0x9E3779B97F4A7C15;
    return std::hash<std::string>()(step.name) ^
           (std::hash<std::uint64_t>()(step.above.inode) * spread);
}

} // namespace orv
