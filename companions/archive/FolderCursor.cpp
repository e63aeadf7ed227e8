#include "archive/FolderCursor.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>

#include <fcntl.h>

namespace orv::archive {
namespace {

constexpr std::size_t max_upper_levels = 12;

} // namespace

FolderCursor::FolderCursor(FileDescriptor root, Url url)
    : root_(std::move(root)), url_(std::move(url))
{
}

int FolderCursor::go_to(std::string_view path)
{
    go_back_towards(path);
    while (path_.size() < path.size()) {
        const std::size_t start = path_.empty() ? 0 : path_.size() + 1;
        descend(path.substr(start, path.find('/', start) - start));
    }
    return levels_.empty() ? root_.get() : levels_.back().folder.get();
}

Url FolderCursor::url_of(std::string_view path) const
{
    return path.empty() ? url_ : url_.appending(path);
}

void FolderCursor::go_back_towards(std::string_view path)
{
    const auto leads_there = [&](std::size_t size) {
        return path.starts_with(std::string_view(path_).substr(0, size)) &&
               (path.size() == size || path[size] == '/');
    };
    while (!levels_.empty() && !leads_there(levels_.back().path_size))
        levels_.pop_back();
    path_.resize(levels_.empty() ? 0 : levels_.back().path_size);
}

void FolderCursor::descend(std::string_view name)
{
    const int folder = levels_.empty() ? root_.get() : levels_.back().folder.get();
    FileDescriptor next(::openat(folder, std::string(name).c_str(),
                                 O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    const int code = errno;
    if (!path_.empty())
        path_ += '/';
    path_ += name;
    if (!next) {
        const Url failed = url_of(path_);
        path_.resize(levels_.empty() ? 0 : levels_.back().path_size);
        throw platform_error(code, failed);
    }
    if (levels_.size() > max_upper_levels)
        levels_.back() = {path_.size(), std::move(next)};
    else
        levels_.push_back({path_.size(), std::move(next)});
}

} // namespace orv::archive
